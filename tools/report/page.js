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
    this.surfaces = surfaceList(this.reference, this.fields).map(
        surface => new SurfaceControl(surface, this.scene, this.table.chosen, byId('surfaces')));
  }

  /// A button that is pressed or not, with the colour of what it shows.
  addToggle(name, color, apply, pressed = true) {
    const button = toggleButton(name, color && colors[color], pressed, apply);
    byId('controls').append(button);
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
    this.scene.makeRoom();
    this.surfaces.forEach(surface => surface.choose(row));
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
