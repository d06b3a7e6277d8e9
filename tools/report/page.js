// The page: what is chosen in the table is shown in the picture.

const byId = id => document.getElementById(id);

class Page {
  constructor() {
    this.range = null;  // of a bar of the histogram: tells whether a row is in it
    this.surfaces = [];
    document.title = report.title;
    byId('title').textContent = report.title;
    byId('summary').textContent = this.summary();
    this.showSettings();
    this.table = new Table(byId('table'), report.columns, row => this.show(row));
    this.table.grid.addEventListener('zoom', () => this.scene?.zoomToRow());
    this.makePlot();
    byId('filter').addEventListener('input', () => this.applyFilter());
    byId('clear').addEventListener('click', () => this.clearFilter());
    this.texts = [];  // of the rows, for the filter
    this.applyFilter();
    if (rowCount > 0) this.table.pick(report.chosen);
    // The table need not wait for the picture.
    requestAnimationFrame(() => setTimeout(() => this.openPicture()));
  }

  summary() {
    const parts = [counted(rowCount, report.rowName)];
    if (report.reference) parts.push(`${report.referenceName} in grey`);
    return parts.join(' \u00b7 ');
  }

  showSettings() {
    byId('generator').textContent = report.generator;
    for (const [name, value] of report.settings) {
      byId('settings').append(make('dt', {}, name), make('dd', {}, value));
    }
  }

  /// Without WebGL the rest still works.
  openPicture() {
    this.reference = decodeMolecule(report.reference);
    this.fields = report.fields.map(decodeField);
    const isAny = this.reference || this.fields.length > 0 || report.poses.some(pose => pose);
    byId('viewer').setAttribute('aria-label', `Picture of ${report.title}`);
    try {
      this.scene = isAny ? new Scene(byId('viewer')) : null;
    } catch {
      byId('no-picture').hidden = false;
    }
    byId('picture').hidden = !this.scene;
    if (!this.scene) return;
    this.scene.setMolecule('reference', this.reference);
    this.scene.setMolecule('row', this.molecule);
    this.makeControls();
    this.scene.showAll();
  }

  makeControls() {
    if (this.reference) this.addToggle(report.referenceName, 'reference', shown =>
        this.scene.setMolecule('reference', shown ? this.reference : null));
    if (report.poses.some(pose => pose)) {
      this.addToggle(`Chosen ${report.rowName}`, 'row', shown => {
        this.rowHidden = !shown;
        this.scene.setMolecule('row', shown ? this.molecule : null);
      });
    }
    if (report.structures.some(({elements}) => elements.includes(1))) {
      this.addToggle('All hydrogens', null, shown => this.scene.setHydrogens(shown),
                     report.allHydrogens);
    }
    const all = make('button', {type: 'button'}, 'Whole view');
    all.addEventListener('click', () => this.scene.showAll());
    byId('controls').append(all);
    this.surfaces = this.surfaceList();
    this.surfaces.forEach(surface => this.addSurface(surface));
  }

  /// A button that is pressed or not, with the colour of what it shows.
  addToggle(name, color, apply, pressed = true) {
    const button = toggleButton(name, color && colors[color], pressed, apply);
    byId('controls').append(button);
  }

  /// What can be shown, each with the field of it that is to be drawn now, if there is one, and with
  /// the scale of its levels.
  surfaceList() {
    const levels = () => ({unit: '', scale: {largest: 4, level: 1}});
    const list = [];
    if (this.reference?.bonds.length > 0 && this.fields.length === 0) {
      list.push({name: `${report.referenceName} density`, key: 'reference-density', ...levels(),
                 color: colors.reference, field: () => shapeDensity(this.reference)});
    }
    if (report.poses.some(pose => pose && report.structures[pose[0]].bonds.length > 0) &&
        this.fields.every(({row}) => row === null)) {
      list.push({name: `Density of the ${report.rowName}`, key: 'row-density', ...levels(), ofRow: true,
                 color: colors.row, field: () => this.molecule && shapeDensity(this.molecule)});
    }
    const perRow = new Map();  // by name
    this.fields.forEach((field, at) => {
      const {name, unit, bothSigns, row} = field;
      if (row !== null && perRow.has(name)) {
        perRow.get(name).set(row, field);
        return;
      }
      const rows = row === null ? null : new Map([[row, field]]);
      if (rows) perRow.set(name, rows);
      list.push({name, key: `field-${at}`, unit, bothSigns, rows, scale: field,
                 color: rows && !bothSigns ? colors.row : colors.positive,
                 field: () => rows ? rows.get(this.table.chosen) : field});
    });
    return list;
  }

  /// A button and a slider, whose steps are those of the logarithm of the level.
  addSurface(surface) {
    const value = make('output', {});
    const slider = make('input', {type: 'range', min: 0, max: 200, step: 1, disabled: '',
                                  'aria-label': `Level of ${surface.name}`});
    const range = 1000;  // from the lowest level to the highest
    const read = () => {
      surface.scale.level = surface.scale.largest * range ** (slider.value / 200 - 1);
      const text = `${surface.bothSigns ? '\u00b1' : ''}${Number(surface.scale.level.toPrecision(3))}`;
      const level = `${text} ${surface.unit}`.trim();
      value.textContent = surface.isAway ? this.whereItIs(surface) : level;
      slider.setAttribute('aria-valuetext', level);
    };
    const button = toggleButton(surface.name, surface.color, false, shown => {
      surface.shown = shown;
      surface.update();
    });
    surface.update = () => {
      surface.isAway = this.isOfAnother(surface);
      if (surface.rows && !surface.isAway) surface.scale = surface.field();
      const {level, largest} = surface.scale;
      slider.value = 200 * (1 + Math.log(level / largest) / Math.log(range));
      button.disabled = surface.isAway;
      slider.disabled = surface.isAway || !surface.shown;
      read();
      this.drawSurface(surface);
    };
    slider.addEventListener('input', () => {
      read();
      cancelAnimationFrame(surface.waiting);
      surface.waiting = requestAnimationFrame(() => this.drawSurface(surface));
    });
    surface.update();
    // A grid is what a grid stands for; a molecule has its atoms.
    const isAll = surface.rows ? !this.molecule : surface.key === 'field-0' && !this.reference;
    if (isAll && !surface.isAway) button.click();
    byId('surfaces').append(make('div', {class: 'surface'}, button, slider, value));
  }

  isOfAnother({rows}) {
    return Boolean(rows) && !rows.has(this.table.chosen);
  }

  whereItIs({rows}) {
    const [first] = rows.keys();
    return rows.size === 1 ? `only for ${report.rowName} ${first + 1}`
        : `not for this ${report.rowName}`;
  }

  drawSurface({key, shown, isAway, field, scale, color, bothSigns}) {
    const density = shown && !isAway ? field() : null;
    const list = [];
    if (density) {
      const {level} = scale;
      list.push({surface: isosurface(density, level), color, isMesh: color === colors.row});
      if (bothSigns) list.push({surface: isosurface(density, -level), color: colors.negative});
    }
    this.scene.setSurfaces(key, list);
  }

  makePlot() {
    const place = byId('plot');
    if (report.curve) {
      this.curve = new Curve(place, report.curve, row => this.table.pick(row));
      return;
    }
    const columns = report.columns.filter(
        column => isNumeric(column) && column.numbers.some(number => number !== null));
    if (columns.length === 0) return;
    const first = Math.max(0, columns.indexOf(report.columns[report.score ?? -1]));
    this.histogram = new Histogram(place, columns, first, inRange => {
      this.range = inRange;
      this.applyFilter();
    });
  }

  /// What the cells of a row show, in small letters.
  textOf(row) {
    return this.texts[row] ??= report.columns.map(column => cellText(column, row)).join('\n')
        .toLowerCase();
  }

  /// The rows with the text in any cell and in the range of the bar that is pressed.
  applyFilter() {
    const text = byId('filter').value.trim().toLowerCase();
    const hasText = row => text === '' || this.textOf(row).includes(text);
    const rows = [];
    for (let row = 0; row < rowCount; ++row) if (hasText(row)) rows.push(row);
    const counts = new Set(rows);
    this.histogram?.draw(rows);
    this.table.filter(row => counts.has(row) && (!this.range || this.range(row)));
    const shown = this.table.view.length;
    byId('count').textContent = shown === rowCount ? counted(rowCount, report.rowName)
        : `${shown.toLocaleString('en')} of ${counted(rowCount, report.rowName)}`;
    byId('clear').hidden = text === '' && !this.range;
  }

  clearFilter() {
    byId('filter').value = '';
    this.range = null;
    this.histogram?.release();
    this.applyFilter();
    byId('filter').focus();
  }

  show(row) {
    this.molecule = decodeMolecule(report.poses[row] ?? null);
    this.curve?.choose(row);
    const values = report.columns.slice(1).filter(isNumeric)
        .map(column => `${column.name} ${cellText(column, row)}`).slice(0, 3);
    byId('live').textContent = [`${report.rowName} ${row + 1} of ${rowCount}`, rowTitle(row), ...values]
        .join(', ');
    if (!this.scene) return;
    this.scene.setMolecule('row', this.rowHidden ? null : this.molecule);
    this.surfaces.filter(({ofRow, shown}) => ofRow && shown).forEach(one => this.drawSurface(one));
    this.surfaces.filter(({rows}) => rows).forEach(one => one.update());
  }
}

function toggleButton(name, color, pressed, apply) {
  const button = make('button', {type: 'button', class: 'toggle', 'aria-pressed': pressed}, name);
  if (color) {
    const swatch = make('span', {class: 'swatch', 'aria-hidden': true});
    swatch.style.background = color;
    button.prepend(swatch);
  }
  button.addEventListener('click', () => {
    const now = button.getAttribute('aria-pressed') !== 'true';
    button.setAttribute('aria-pressed', now);
    apply(now);
  });
  return button;
}

const page = new Page();
window.qxhermiteReport = page;  // for the console of the browser
