#!/usr/bin/env bash
# Installs the package on a Debian 12 made for the purpose, and uses all of its parts.
#   smoke_test.sh PACKAGE.deb FOLDER
# FOLDER takes the system, some 1.5 GB, and is removed again. To be run as root, with debootstrap.
set -euo pipefail
package=$(realpath "$1")
root=$2
examples=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../examples")
[[ ! -e $root ]] || { echo "$root: exists: give a new folder" >&2; exit 1; }

leave() {
  umount "$root/proc" 2>/dev/null || true
  rm -rf --one-file-system "$root"
}
trap leave EXIT

mirror=$(sed -n 's/^URIs: *//p; s/^deb \(\[[^]]*\] *\)\?\([^ ]*\) bookworm .*/\2/p' \
  /etc/apt/sources.list /etc/apt/sources.list.d/* 2>/dev/null | head -1) || true
debootstrap --variant=minbase bookworm "$root" ${mirror:+"$mirror"} >"$root.log" || { tail "$root.log" >&2; exit 1; }
rm "$root.log"
cp "$package" "$root/qxhermite.deb"
cp -r "$examples" "$root/examples"
mount -t proc proc "$root/proc"

inside() { DEBIAN_FRONTEND=noninteractive chroot "$root" "$@"; }

inside apt-get update -qq
inside apt-get install -y -qq --no-install-recommends /qxhermite.deb
echo "== the command line"
inside qxhermite overlay --ref /examples/data/reference.sdf --fit /examples/data/drugs.sdf \
  --out /hits.sdf --top 3
inside test -s /hits.sdf
echo "== Python, without RDKit"
inside python3 - <<'PYTHON'
import numpy as np
import qxhermite

result = qxhermite.overlay("/examples/data/reference.sdf", "/examples/data/drugs.sdf")
print(result)
assert result[0].title == "celecoxib" and result[0].score > 0.999999
assert np.all(np.diff(result.scores) <= 0)
PYTHON
echo "== Python, with RDKit"
inside apt-get install -y -qq --no-install-recommends python3-rdkit
inside python3 - <<'PYTHON'
from rdkit import Chem
import qxhermite

mols = [mol for mol in Chem.SDMolSupplier("/examples/data/drugs.sdf", removeHs=False)]
poses = qxhermite.overlay(mols[0], mols).to_rdkit()
assert all(isinstance(pose, Chem.Mol) for pose in poses)
PYTHON
echo "== a program that links the library"
inside apt-get install -y -qq --no-install-recommends g++ cmake make libeigen3-dev librdkit-dev \
  libboost-dev
inside cmake -S /examples -B /program
inside cmake --build /program --target overlay
inside /program/overlay /examples/data/reference.sdf /examples/data/drugs.sdf | head -3
inside apt-get remove -y -qq qxhermite
! inside test -e /usr/bin/qxhermite
echo "== all parts work"
