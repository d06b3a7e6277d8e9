// A histogram of one column, whose bars filter the table; or curves of columns, whose points choose
// rows.

const plotSize = {width: 560, height: 150, left: 44, right: 12, top: 10, bottom: 34};

/// Text keeps its size in a place of any width.
const fitInto = place => { plotSize.width = Math.max(280, place.clientWidth || 560); };

const powerOfTen = exponent => Number(`1e${exponent}`);

/// What lies between two finite numbers, of any size. It is reckoned in a power of ten, so that no
/// difference is too large.
class Span {
  constructor(low, high) {
    const most = Math.max(Math.abs(low), Math.abs(high));
    this.ends = [low, high];
    this.unit = powerOfTen(Math.max(-300, Math.floor(Math.log10(most))));
    this.low = low / this.unit;
    this.width = high / this.unit - this.low;
    const share = this.width / (most / this.unit);
    this.isOne = !(share > 1e-12);  // rounding would tell the places in anything narrower
    /// Significant digits that tell a hundredth of it.
    this.digits = this.isOne ? 17 : Math.min(17, Math.max(4, Math.ceil(2 - Math.log10(share)) + 1));
  }

  /// From 0 at the low end to 1 at the high one; in the middle where there is but one value.
  part(number) {
    return this.isOne ? 0.5 : (number / this.unit - this.low) / this.width;
  }

  /// The number at such a part, as a text.
  text(part) {
    const number = part === 0 ? this.ends[0] : part === 1 ? this.ends[1]
        : (this.low + part * this.width) * this.unit;
    return shortText(number, this.digits);
  }

  /// Round numbers, about so many.
  ticks(count) {
    if (this.isOne) return [this.ends[0]];
    const raw = this.width / count;
    const power = powerOfTen(Math.floor(Math.log10(raw)));
    const step = power * ([1, 2, 5, 10].find(factor => factor * power >= raw) ?? 10);
    const first = Math.ceil(this.low / step - 1e-9);
    const last = Math.floor((this.low + this.width) / step + 1e-9);
    const list = Array.from({length: Math.max(0, last - first + 1)},
                            (_, i) => Number(((first + i) * step * this.unit).toPrecision(15)));
    return [...new Set(list)];  // the smallest numbers there are have nothing between them
  }
}

const axisName = column => column.unit ? `${column.name} [${column.unit}]` : column.name;

/// From values to places in the plot.
function scales(xs, ys) {
  const {width, height, left, right, top, bottom} = plotSize;
  return {
    x: value => left + xs.part(value) * (width - left - right),
    y: value => height - bottom - ys.part(value) * (height - top - bottom),
  };
}

/// An empty plot with its axes.
function makePlot(label, xTicks, yTicks, {x, y}, xName) {
  const {width, height, left, right, bottom} = plotSize;
  const svg = make('svg', {viewBox: `0 0 ${width} ${height}`, role: 'group', 'aria-label': label});
  for (const value of yTicks) {
    svg.append(make('line', {class: 'grid', x1: left, x2: width - right, y1: y(value), y2: y(value)}),
               make('text', {x: left - 6, y: y(value) + 4, class: 'end'}, shortText(value, 17)));
  }
  for (const value of xTicks) {
    svg.append(make('text', {x: x(value), y: height - bottom + 15, class: 'middle'}, shortText(value, 17)));
  }
  svg.append(make('text', {x: (left + width - right) / 2, y: height - 4, class: 'middle name'}, xName));
  return svg;
}

/// Makes marks of a plot work as buttons, one of which Tab reaches; arrow keys go on from there.
function makeButtons(marks, press) {
  marks.forEach((mark, at) => {
    mark.setAttribute('role', 'button');
    mark.setAttribute('tabindex', at === 0 ? 0 : -1);
    mark.addEventListener('click', () => press(at));
    mark.addEventListener('keydown', event => {
      const steps = {ArrowRight: at + 1, ArrowLeft: at - 1, Home: 0, End: marks.length - 1};
      if (event.key === 'Enter' || event.key === ' ') press(at);
      else if (marks[steps[event.key]]) focusMark(marks, steps[event.key]);
      else return;
      event.preventDefault();
    });
  });
}

function focusMark(marks, at) {
  marks.forEach((mark, i) => mark.setAttribute('tabindex', i === at ? 0 : -1));
  marks[at].focus();
}

class Histogram {
  /// onRange(inRange) asks for the rows for which inRange(row) holds; onRange(null) for all.
  constructor(place, columns, chosen, onRange) {
    this.place = place;
    this.columns = columns;
    this.onRange = onRange;
    this.pressed = -1;
    this.select = make('select', {id: 'plot-column'}, ...columns.map(
        (column, at) => make('option', {value: at}, axisName(column))));
    this.select.value = chosen;
    this.select.addEventListener('change', () => {
      this.release();
      this.onRange(null);
    });
    place.append(make('div', {class: 'plot-head'},
                      make('label', {for: 'plot-column'}, 'Histogram of'), this.select));
  }

  release() {
    this.pressed = -1;
  }

  /// rows: those to be counted.
  draw(rows) {
    fitInto(this.place);
    const column = this.columns[this.select.value];
    const known = column.numbers.filter(number => number !== null);
    const low = known.reduce((a, b) => Math.min(a, b), Infinity);
    const high = known.reduce((a, b) => Math.max(a, b), -Infinity);
    const span = new Span(low, high);
    const bins = span.isOne ? 1 : Math.min(24, Math.max(6, Math.ceil(Math.sqrt(known.length))));
    const binOf = number => Math.min(bins - 1, Math.floor(span.part(number) * bins));
    const counts = new Array(bins).fill(0);
    for (const row of rows) {
      const number = column.numbers[row] ?? null;
      if (number !== null) ++counts[binOf(number)];
    }
    this.bars(column, counts, span, binOf);
  }

  bars(column, counts, span, binOf) {
    const tall = new Span(0, Math.max(1, ...counts));
    const scale = scales(span, tall);
    const edge = at => span.text(at / counts.length);
    const {left, right} = plotSize;
    const room = (plotSize.width - left - right) / counts.length;
    const svg = makePlot(`Histogram of ${column.name}`, span.ticks(plotSize.width / 90),
                         tall.ticks(3).filter(Number.isInteger), scale, axisName(column));
    const marks = counts.map((count, at) => {
      const from = left + at * room, to = from + room;
      const range = [...new Set([edge(at), edge(at + 1)])].join(' to ');
      const label = `${range}: ${counted(count, report.rowName)}`;
      const top = count > 0 ? Math.min(scale.y(count), scale.y(0) - 2) : scale.y(0);
      return make('g', {class: 'bar', 'aria-label': label, 'aria-pressed': at === this.pressed},
          make('title', {}, label),
          make('rect', {class: 'target', x: from, y: plotSize.top, width: to - from,
                        height: scale.y(0) - plotSize.top}),
          make('rect', {class: 'fill', x: from + 1, y: top, width: Math.max(1, to - from - 2),
                        height: scale.y(0) - top}));
    });
    makeButtons(marks, at => {
      this.pressed = this.pressed === at ? -1 : at;
      if (this.pressed < 0) this.onRange(null);
      else this.onRange(row => (column.numbers[row] ?? null) !== null &&
                               binOf(column.numbers[row]) === at);
      this.place.querySelectorAll('.bar')[at]?.focus();
    });
    svg.append(...marks);
    this.place.querySelector('svg')?.remove();
    this.place.append(svg);
  }
}

const mostPoints = 500;  // of a curve that has a button for each

class Curve {
  constructor(place, {x, y}, onPick) {
    this.onPick = onPick;
    fitInto(place);
    const columns = y.map(at => report.columns[at]);
    const xs = report.columns[x].numbers;
    const values = columns.flatMap(column => column.numbers).filter(number => number !== null);
    const across = new Span(Math.min(...xs), Math.max(...xs));
    const up = new Span(Math.min(0, ...values), Math.max(0, ...values));
    const scale = scales(across, up);
    const name = columns.length === 1 ? axisName(columns[0]) : 'value';
    const svg = makePlot(`${columns.map(axisName).join(', ')} over ${axisName(report.columns[x])}`,
                         across.ticks(plotSize.width / 80), up.ticks(4), scale,
                         axisName(report.columns[x]));
    columns.forEach((column, at) => this.line(svg, scale, xs, column, at));
    place.append(make('div', {class: 'plot-head'}, ...columns.map((column, at) => make(
        'span', {class: `key curve-${at}`}, columns.length === 1 ? name : column.name))), svg);
    this.marks = [...svg.querySelectorAll('circle')];
    makeButtons(this.marks, at => onPick(Number(this.marks[at].dataset.row)));
  }

  line(svg, scale, xs, column, at) {
    const known = xs.map((_, row) => row).filter(row => (column.numbers[row] ?? null) !== null);
    const point = row => [scale.x(xs[row]), scale.y(column.numbers[row])];
    const path = known.map((row, i) => {
      const joined = i > 0 && known[i - 1] === row - 1;  // a gap stays one
      return `${joined ? 'L' : 'M'}${point(row).map(v => v.toFixed(1)).join(' ')}`;
    });
    svg.append(make('path', {class: `curve-${at}`, d: path.join('')}));
    if (known.length > mostPoints) return;
    for (const row of known) {
      const [cx, cy] = point(row);
      const label = `${rowTitle(row)}: ${column.name} ${cellText(column, row)}`;
      svg.append(make('circle', {cx, cy, r: 4, class: `curve-${at}`, 'data-row': row,
                                 'aria-label': label}, make('title', {}, label)));
    }
  }

  choose(row) {
    for (const mark of this.marks) mark.setAttribute('aria-pressed', Number(mark.dataset.row) === row);
  }
}
