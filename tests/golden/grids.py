"""Makes tests/data/grids: small maps in the variants of the CCP4/MRC format, and what stands where.

Usage: python3 grids.py FOLDER   (numpy, gemmi)

Every map has 3 x 4 x 5 elements along x, y, z. Where the axes are orthogonal, element (i, j, k) has
the value i + 5 j + 25 k - 20; elsewhere the value is the linear function 1 + x/2 - y/4 + 2 z of the
place, which trilinear interpolation returns exactly. expected.txt, of the former: file, x, y, z,
value. gemmi reads each map again to tell the places, but for the big-endian 16-bit map, whose
values it does not swap.
"""

import itertools
import os
import sys

import gemmi
import numpy as np

DIM = (3, 4, 5)
VALUES = np.fromfunction(lambda i, j, k: i + 5 * j + 25 * k - 20, DIM)
TYPES = {0: 'i1', 1: 'i2', 2: 'f4', 6: 'u2'}


def write(path, values, lengths, angles=(90, 90, 90), sampling=DIM, order=(0, 1, 2), mode=2,
          start=(0, 0, 0), origin=(0, 0, 0), records=0, big_endian=False, label='golden map'):
    """order: the axes of columns, rows, sections; start in x, y, z order."""
    ccp4 = gemmi.Ccp4Map()
    ccp4.grid = gemmi.FloatGrid(np.asarray(values, dtype=np.float32))
    ccp4.grid.unit_cell = gemmi.UnitCell(*lengths, *angles)
    ccp4.grid.spacegroup = gemmi.SpaceGroup('P 1')
    ccp4.update_ccp4_header(2)
    for word in range(3):
        ccp4.set_header_i32(1 + word, DIM[order[word]])
        ccp4.set_header_i32(5 + word, start[order[word]])
        ccp4.set_header_i32(8 + word, sampling[word])
        ccp4.set_header_i32(17 + word, order[word] + 1)
        ccp4.set_header_float(50 + word, origin[word])
    ccp4.set_header_i32(4, mode)
    ccp4.set_header_str(57, label.ljust(80))
    ccp4.write_ccp4_map(path)
    with open(path, 'rb') as file:
        header = bytearray(file.read(1024 + 80))
    header[23 * 4:24 * 4] = np.array([80 * records], '<i4').tobytes()
    header = header[:1024] + b'x,y,z'.ljust(80) * records
    data = np.asarray(values).transpose(order).flatten(order='F')
    if big_endian:
        numbers = np.frombuffer(bytes(header[:52 * 4]), '<i4').astype('>i4').tobytes()
        header[:52 * 4] = numbers
        header[54 * 4:56 * 4] = np.frombuffer(bytes(header[54 * 4:56 * 4]), '<i4').astype(
            '>i4').tobytes()
        header[53 * 4:54 * 4] = b'\x11\x11\x00\x00'
    with open(path, 'wb') as file:
        file.write(header)
        file.write(data.astype(('>' if big_endian else '<') + TYPES[mode]).tobytes())


def elements(path, origin):
    """Places and values of all elements as gemmi reads them, but for ORIGIN, which it leaves."""
    ccp4 = gemmi.read_ccp4_map(path)
    ccp4.setup(float('nan'), gemmi.MapSetup.ReorderOnly)
    sampling = [ccp4.header_i32(8 + word) for word in range(3)]
    start = [ccp4.header_i32(5 + word) for word in range(3)]
    values = np.array(ccp4.grid, copy=False)
    for at in itertools.product(*(range(n) for n in values.shape)):
        first = (0, 0, 0) if any(origin) else start
        place = ccp4.grid.unit_cell.orthogonalize(
            gemmi.Fractional(*((first[a] + at[a]) / sampling[a] for a in range(3))))
        yield [p + o for p, o in zip(place.tolist(), origin)], values[at]


def main(folder):
    cubic = (1.5, 2.0, 2.5)  # spacing 0.5
    maps = {'mode%d.map' % mode: dict(mode=mode) for mode in (0, 1, 6)}
    maps['mode0.map'].update(records=3)
    maps['mode1.map'].update(origin=(1.25, -7.5, 0.75), start=(7, 7, 7))
    maps['mode6.map'].update(values=VALUES + 60000)
    for order in itertools.permutations(range(3)):
        name = 'axes%s.ccp4' % ''.join('xyz'[axis] for axis in order)
        maps[name] = dict(order=order, start=(2, -3, 4))
    # A box of a larger cell: elements 0.5 apart all the same.
    maps['part.mrc'] = dict(sampling=(10, 20, 30), lengths=(5.0, 10.0, 15.0), start=(-4, 1, 2))

    expected = []
    for name, options in maps.items():
        options = dict(values=VALUES, lengths=cubic) | options
        write(os.path.join(folder, name), **options)
        for place, value in elements(os.path.join(folder, name), options.get('origin', (0, 0, 0))):
            expected.append((name, *place, value))

    write(os.path.join(folder, 'bigendian.map'), VALUES, cubic, mode=1, big_endian=True,
          order=(1, 0, 2))
    for at in itertools.product(*(range(n) for n in DIM)):
        expected.append(('bigendian.map', *(0.5 * a for a in at), VALUES[at]))

    for name, lengths, angles in (('skew.map', (1.5, 2.0, 2.5), (80, 100, 115)),
                                  ('spacings.map', (1.5, 2.4, 2.5), (90, 90, 90))):
        cell = gemmi.UnitCell(*lengths, *angles)
        places = (cell.orthogonalize(gemmi.Fractional(*(a / n for a, n in zip(at, DIM)))).tolist()
                  for at in itertools.product(*(range(n) for n in DIM)))
        values = np.array([1 + x / 2 - y / 4 + 2 * z for x, y, z in places])
        write(os.path.join(folder, name), values.reshape(DIM), lengths, angles)

    # What a writer should make: a grid that begins at whole elements, and one that does not.
    write(os.path.join(folder, 'whole.ccp4'), VALUES, cubic, start=(2, -3, 4), records=1)
    write(os.path.join(folder, 'fraction.ccp4'), VALUES, cubic, origin=(0.3125, -7, 9), records=1)

    with open(os.path.join(folder, 'expected.txt'), 'w') as file:
        for row in expected:
            file.write('%s %.9g %.9g %.9g %.9g\n' % row)


if __name__ == '__main__':
    main(sys.argv[1])
