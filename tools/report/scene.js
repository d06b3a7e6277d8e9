// The picture: molecules and surfaces, drawn by 3Dmol.js.

const elementSymbols = ('X H He Li Be B C N O F Ne Na Mg Al Si P S Cl Ar K Ca Sc Ti V Cr Mn Fe Co ' +
    'Ni Cu Zn Ga Ge As Se Br Kr Rb Sr Y Zr Nb Mo Tc Ru Rh Pd Ag Cd In Sn Sb Te I Xe').split(' ');
/// Other elements than carbon and hydrogen keep these colours in every molecule.
const elementColors = {7: '#3f5fe0', 8: '#e03030', 9: '#4fb84f', 15: '#e08030',
                       16: '#d8b400', 17: '#30a830', 35: '#a03020', 53: '#8030a0'};
const colors = {reference: '#8d97a5', row: '#e8890c', positive: '#3b7ddd', negative: '#d9483b'};
const hydrogenColors = {reference: '#d4d8de', row: '#f5cd94'};

class Scene {
  /// Throws where there is no WebGL.
  constructor(element) {
    const probe = document.createElement('canvas').getContext('webgl2');
    if (!probe) throw new Error('no WebGL');
    probe.getExtension('WEBGL_lose_context')?.loseContext();
    this.viewer = $3Dmol.createViewer(element, {backgroundColor: 'white', antialias: true});
    this.element = element;
    this.models = {};
    this.shapes = {};
    this.hydrogens = report.allHydrogens;
    element.addEventListener('keydown', event => this.turnByKey(event));
    new ResizeObserver(() => this.viewer.resize()).observe(element);
    const dark = matchMedia('(prefers-color-scheme: dark)');
    const paint = () => this.viewer.setBackgroundColor(dark.matches ? '#15181d' : '#ffffff', 1);
    dark.addEventListener('change', paint);
    paint();
  }

  /// Puts a molecule, or null, in the place of the one of that name.
  setMolecule(name, molecule) {
    if (this.models[name]) this.viewer.removeModel(this.models[name]);
    this.models[name] = null;
    if (molecule) {
      this.models[name] = this.viewer.addModel();
      this.models[name].addAtoms(atomsOf(molecule));
      this.style(name);
    }
    this.viewer.render();
  }

  setHydrogens(shown) {
    this.hydrogens = shown;
    Object.keys(this.models).forEach(name => this.style(name));
    this.viewer.render();
  }

  style(name) {
    const model = this.models[name];
    if (!model) return;
    const color = colors[name];
    const hydrogen = hydrogenColors[name];
    const colorfunc = atom => atom.number === 1 ? hydrogen : elementColors[atom.number] ?? color;
    const radius = name === 'row' ? 0.13 : 0.1;
    model.setStyle({}, {stick: {radius, colorfunc}});
    model.setStyle({predicate: atom => atom.bonds.length === 0},
                   {sphere: {radius: name === 'row' ? 0.36 : 0.28, colorfunc: () => color}});
    if (!this.hydrogens) model.setStyle({predicate: atom => atom.nonpolar}, {});
  }

  /// Puts a list of {surface, color, isMesh} in the place of the one of that name. A mesh can be
  /// seen through a surface, and the other way round.
  setSurfaces(name, list) {
    if (list.length === 0 && !(this.shapes[name]?.length > 0)) return;
    for (const shape of this.shapes[name] ?? []) this.viewer.removeShape(shape);
    this.shapes[name] = list.filter(({surface}) => surface.faceArr.length > 0).map(
        ({surface, color, isMesh}) => this.viewer.addCustom(
            {...surface, color, ...(isMesh ? {wireframe: true} : {opacity: 0.45})}));
    this.viewer.render();
  }

  /// As at first: all of it, the long axis across.
  showAll() {
    const view = this.viewer.getView();
    this.viewer.setView([...view.slice(0, 4), ...report.turn]);
    this.fit();
  }

  fit() {
    this.viewer.zoomTo();
    this.viewer.zoom(this.spare());
    this.fitted = this.reach();
    this.viewer.render();
  }

  /// Draws back where the atoms reach farther out than those that the view was made for.
  makeRoom() {
    if (this.reach() > 1.05 * this.fitted) this.fit();
  }

  /// How far the atoms lie from the middle of the view.
  reach() {
    const middle = this.viewer.getView().slice(0, 3).map(shift => -shift);
    return Math.max(0, ...this.viewer.selectedAtoms({}).map(
        ({x, y, z}) => Math.hypot(x - middle[0], y - middle[1], z - middle[2])));
  }

  /// By how much the atoms may be drawn larger than in a view that holds the ball around them.
  spare() {
    const atoms = this.viewer.selectedAtoms({});
    if (atoms.length === 0) return 1;
    const margin = 1.5, least = 2.5;  // angstrom
    const middle = this.viewer.getView().slice(0, 3).map(shift => -shift);
    let reach = least, across = 0, up = 0;
    for (const {x, y, z} of atoms) {
      const place = turned(report.turn, [x - middle[0], y - middle[1], z - middle[2]]);
      reach = Math.max(reach, Math.hypot(...place));
      across = Math.max(across, Math.abs(place[0]));
      up = Math.max(up, Math.abs(place[1]));
    }
    const {clientWidth, clientHeight} = this.element;
    return Math.min(reach / (up + margin), reach * clientWidth / clientHeight / (across + margin));
  }

  zoomToRow() {
    if (!this.models.row) {
      this.showAll();
      return;
    }
    this.viewer.zoomTo({model: this.models.row}, 300);
    this.viewer.render();
  }

  turnByKey(event) {
    const turns = {ArrowLeft: [-10, 'y'], ArrowRight: [10, 'y'], ArrowUp: [-10, 'x'],
                   ArrowDown: [10, 'x']};
    const zooms = {'+': 1.15, '=': 1.15, '-': 1 / 1.15};
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    if (turns[event.key]) this.viewer.rotate(...turns[event.key]);
    else if (zooms[event.key]) this.viewer.zoom(zooms[event.key]);
    else if (event.key === '0') this.showAll();
    else return;
    event.preventDefault();
  }
}

/// A place turned by a quaternion (x, y, z, w): p + 2 q x (q x p + w p).
function turned([x, y, z, w], p) {
  const cross = (a, b) => [0, 1, 2].map(i => a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3]);
  const q = [x, y, z];
  const inner = cross(q, p).map((v, i) => v + w * p[i]);
  return cross(q, inner).map((v, i) => p[i] + 2 * v);
}

/// A molecule as 3Dmol.js takes it. A hydrogen on a carbon is marked as not polar.
function atomsOf({elements, bonds, places}) {
  const atoms = elements.map((number, i) => ({
    elem: elementSymbols[number] ?? 'X', number, serial: i, bonds: [], bondOrder: [],
    x: places[3 * i], y: places[3 * i + 1], z: places[3 * i + 2]}));
  for (let i = 0; i < bonds.length; i += 3) {
    const [begin, end, order] = bonds.slice(i, i + 3);
    for (const [from, to] of [[begin, end], [end, begin]]) {
      atoms[from].bonds.push(to);
      atoms[from].bondOrder.push([2, 3, 4].includes(order) ? order : 1);
      if (elements[from] === 1 && elements[to] === 6) atoms[from].nonpolar = true;
    }
  }
  return atoms;
}
