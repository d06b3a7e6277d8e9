// Densities on grids and their surfaces of equal values.

/// As the tool makes them: a Gaussian of this amplitude for each heavy atom, which integrates to the
/// volume of a sphere of 1.7 angstrom.
const amplitude = 2.7;
const exponent = 2.34422871067 / (1.7 * 1.7);

/// The shape density of the heavy atoms: {size, origin, spacing, values}, x fastest.
function shapeDensity(molecule) {
  const reach = 3.4;  // where a Gaussian is down to 1e-4
  const heavy = [];
  molecule.elements.forEach((element, i) => {
    if (element > 1) heavy.push([0, 1, 2].map(axis => molecule.places[3 * i + axis]));
  });
  if (heavy.length === 0) return null;
  const bound = (pick, axis) => heavy.reduce((all, p) => pick(all, p[axis]), heavy[0][axis]);
  const low = [0, 1, 2].map(axis => bound(Math.min, axis) - reach);
  const width = [0, 1, 2].map(axis => bound(Math.max, axis) + reach - low[axis]);
  const spacing = Math.max(0.4, Math.max(...width) / 90);
  const size = width.map(w => Math.ceil(w / spacing) + 1);
  const field = {size, origin: low, spacing, values: new Float32Array(size[0] * size[1] * size[2])};
  for (const place of heavy) addGaussian(field, place, reach);
  return field;
}

/// A product of three factors, one an axis.
function addGaussian({size, origin, spacing, values}, place, reach) {
  const factors = place.map((centre, axis) => {
    const first = Math.max(0, Math.ceil((centre - reach - origin[axis]) / spacing));
    const last = Math.min(size[axis] - 1, Math.floor((centre + reach - origin[axis]) / spacing));
    const list = [];
    for (let i = first; i <= last; ++i) {
      list.push([i, Math.exp(-exponent * (origin[axis] + i * spacing - centre) ** 2)]);
    }
    return list;
  });
  for (const [k, fz] of factors[2]) {
    for (const [j, fy] of factors[1]) {
      const line = size[0] * (j + size[1] * k);
      for (const [i, fx] of factors[0]) values[line + i] += amplitude * fx * fy * fz;
    }
  }
}

/// The surface where a field has a value, by surface nets: every cube of eight elements that the
/// surface passes has one vertex, the mean of where its edges are cut; every cut edge joins the four
/// cubes around it. Normals point down the gradient. {vertexArr, normalArr, faceArr}.
function isosurface({size, origin, spacing, values}, level) {
  const [nx, ny, nz] = size;
  const steps = [1, nx, nx * ny];
  const sign = level < 0 ? -1 : 1;
  const above = index => sign * (values[index] - level) > 0;
  const vertexOf = new Int32Array(values.length).fill(-1);
  const surface = {vertexArr: [], normalArr: [], faceArr: []};
  for (let k = 0; k + 1 < nz; ++k) {
    for (let j = 0; j + 1 < ny; ++j) {
      for (let i = 0; i + 1 < nx; ++i) {
        const corner = i + nx * (j + ny * k);
        const cut = cubeVertex(values, corner, steps, level, sign);
        if (!cut) continue;
        vertexOf[corner] = surface.vertexArr.length;
        surface.vertexArr.push({x: origin[0] + spacing * (i + cut[0]),
                                y: origin[1] + spacing * (j + cut[1]),
                                z: origin[2] + spacing * (k + cut[2])});
        surface.normalArr.push(cubeNormal(values, corner, steps, cut, sign));
      }
    }
  }
  for (let k = 1; k + 1 < nz; ++k) {
    for (let j = 1; j + 1 < ny; ++j) {
      for (let i = 1; i + 1 < nx; ++i) {
        const index = i + nx * (j + ny * k);
        for (let axis = 0; axis < 3; ++axis) {
          const inside = above(index);
          if (inside === above(index + steps[axis])) continue;
          const u = steps[(axis + 1) % 3], v = steps[(axis + 2) % 3];
          const [a, b, c, d] = [index - u - v, index - v, index, index - u].map(at => vertexOf[at]);
          surface.faceArr.push(...(inside ? [a, b, c, a, c, d] : [a, c, b, a, d, c]));
        }
      }
    }
  }
  return surface;
}

/// Corner pairs of the twelve edges of a cube; bit 0 of a corner is x, bit 1 y, bit 2 z.
const cubeEdges = [0, 1, 2, 3, 4, 5, 6, 7].flatMap(
    corner => [1, 2, 4].filter(bit => !(corner & bit)).map(bit => [corner, corner | bit]));

/// The mean place, in the cube, of where the level is passed; null when it is not.
function cubeVertex(values, corner, steps, level, sign) {
  let x = 0, y = 0, z = 0, cuts = 0;
  /// What a corner lies above the level, in the sense of the sign.
  const excess = at => sign * (values[corner + (at & 1 ? steps[0] : 0) + (at & 2 ? steps[1] : 0) +
                                      (at & 4 ? steps[2] : 0)] - level);
  const first = excess(0) > 0;
  let passes = false;
  for (let at = 1; at < 8 && !passes; ++at) passes = excess(at) > 0 !== first;
  if (!passes) return null;
  for (const [from, to] of cubeEdges) {
    const a = excess(from), b = excess(to);
    if (a > 0 === b > 0) continue;
    const part = a / (a - b);
    x += (from & 1) + (to - from === 1 ? part : 0);
    y += (from >> 1 & 1) + (to - from === 2 ? part : 0);
    z += (from >> 2 & 1) + (to - from === 4 ? part : 0);
    ++cuts;
  }
  return [x / cuts, y / cuts, z / cuts];
}

/// Minus the gradient of the trilinear interpolation in a cube, of length 1; towards smaller values
/// of either sign.
function cubeNormal(values, corner, steps, [x, y, z], sign) {
  const weights = [[1 - x, x], [1 - y, y], [1 - z, z]];
  const gradient = [0, 0, 0];
  for (let at = 0; at < 8; ++at) {
    const bits = [at & 1, at >> 1 & 1, at >> 2 & 1];
    const value = values[corner + bits[0] * steps[0] + bits[1] * steps[1] + bits[2] * steps[2]];
    for (let axis = 0; axis < 3; ++axis) {
      const u = (axis + 1) % 3, v = (axis + 2) % 3;
      gradient[axis] += (bits[axis] ? value : -value) * weights[u][bits[u]] * weights[v][bits[v]];
    }
  }
  const length = sign * Math.hypot(...gradient) || 1;
  return {x: -gradient[0] / length, y: -gradient[1] / length, z: -gradient[2] / length};
}
