// The surfaces that can be shown, each with a button and a slider for its level.

/// What can be shown. Of a row: whether has(row) there is something, its field(row), which is
/// worked out when it is drawn, and the scale(row) of its levels, {level, largest}; away is told
/// where there is nothing. What is ofRow comes and goes with the rows.
function surfaceList(reference, fields) {
  const rowFields = new Map();  // by name, then by row
  for (const field of fields) {
    if (field.row === null) continue;
    if (!rowFields.has(field.name)) rowFields.set(field.name, new Map());
    rowFields.get(field.name).set(field.row, field);
  }
  const stays = fields.filter(({row}) => row === null);
  return [
    ...(stays.length === 0 ? referenceShape(reference) : []),
    ...rowShapes(new Set([...rowFields.values()].flatMap(rows => [...rows.keys()]))),
    ...stays.map(fieldSurface),
    ...[...rowFields.values()].map(rowFieldSurface),
  ];
}

const shapeScale = () => ({level: 1, largest: 4});

function referenceShape(reference) {
  if (!report.shapes || !(reference?.bonds.length > 0)) return [];
  const scale = shapeScale();
  return [{name: `${report.referenceName} density`, key: 'reference-density', unit: '',
           color: colors.reference, has: () => true, field: () => shapeDensity(reference),
           scale: () => scale}];
}

/// Those of the molecules of rows that have no field of their own.
function rowShapes(rowsWithField) {
  const has = row => !rowsWithField.has(row) && report.poses[row] &&
      report.structures[report.poses[row][0]].bonds.length > 0;
  if (!report.shapes || !report.poses.some((pose, row) => has(row))) return [];
  const scale = shapeScale();
  return [{name: `Density of the ${report.rowName}`, key: 'row-density', unit: '',
           color: colors.row, isMesh: true, ofRow: true, away: `not of this ${report.rowName}`, has,
           scale: () => scale,
           field: row => shapeDensity(decodeMolecule(report.poses[row]))}];
}

function fieldSurface(field, at) {
  const {name, unit, bothSigns, shown} = field;
  return {name, key: `field-${at}`, unit, bothSigns, pressed: shown, color: colors.positive,
          away: 'nothing above 0', has: () => field.level > 0, field: () => field,
          scale: () => field};
}

/// One for the fields of one name that belong to a row each.
function rowFieldSurface(rows) {
  const [[first, {name, unit, bothSigns, shown}]] = rows;
  const away = rows.size > 1 ? `not for this ${report.rowName}`
      : `only for ${report.rowName} ${first + 1}`;
  return {name, key: `rows-${name}`, unit, bothSigns, pressed: shown, away, ofRow: true,
          isMesh: !bothSigns, color: bothSigns ? colors.positive : colors.row,
          has: row => rows.get(row)?.level > 0, field: row => rows.get(row),
          scale: row => rows.get(row)};
}

const levelRange = 1000;  // from the lowest level to the highest

/// The button and the slider of one of them, whose steps are those of the logarithm of the level.
class SurfaceControl {
  constructor(surface, scene, row, place) {
    Object.assign(this, {surface, scene, row, shown: Boolean(surface.pressed)});
    this.value = make('output', {});
    this.slider = make('input', {type: 'range', min: 0, max: 200, step: 1,
                                 'aria-label': `Level of ${surface.name}`});
    this.button = toggleButton(surface.name, surface.color, this.shown, shown => {
      this.shown = shown;
      this.update();
    });
    this.slider.addEventListener('input', () => this.takeLevel());
    place.append(make('div', {class: 'surface'}, this.button, this.slider, this.value));
    this.update();
  }

  choose(row) {
    this.row = row;
    if (this.surface.ofRow) this.update();
  }

  update() {
    const {surface, row} = this;
    const isThere = Boolean(surface.has(row));
    this.button.disabled = !isThere;
    this.slider.disabled = !isThere || !this.shown;
    if (isThere) {
      const {level, largest} = surface.scale(row);
      this.slider.value = 200 * (1 + Math.log(level / largest) / Math.log(levelRange));
      this.tellLevel();
    } else {
      this.value.textContent = surface.away;
    }
    this.draw();
  }

  takeLevel() {
    const scale = this.surface.scale(this.row);
    scale.level = scale.largest * levelRange ** (this.slider.value / 200 - 1);
    this.tellLevel();
    cancelAnimationFrame(this.waiting);
    this.waiting = requestAnimationFrame(() => this.draw());
  }

  tellLevel() {
    const {bothSigns, unit, scale} = this.surface;
    const level = Number(scale(this.row).level.toPrecision(3));
    this.value.textContent = `${bothSigns ? '\u00b1' : ''}${level} ${unit}`.trim();
    this.slider.setAttribute('aria-valuetext', this.value.textContent);
  }

  draw() {
    const {key, has, field, scale, color, isMesh, bothSigns} = this.surface;
    const list = [];
    if (this.shown && has(this.row)) {
      const density = field(this.row), {level} = scale(this.row);
      list.push({surface: isosurface(density, level), color, isMesh});
      if (bothSigns) {
        list.push({surface: isosurface(density, -level), color: colors.negative, isMesh});
      }
    }
    this.scene.setSurfaces(key, list);
  }
}
