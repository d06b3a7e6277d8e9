// A histogram of one column, whose bars filter the table; or curves of columns, whose points choose
// rows.

const plotSize = {width: 560, height: 150, left: 44, right: 12, top: 10, bottom: 34};

/// Text keeps its size in a place of any width.
const fitInto = place => { plotSize.width = Math.max(280, place.clientWidth || 560); };

/// Round numbers from low to high, about so many.
function ticks(low, high, count) {
  const raw = (high - low) / count || 1;
  const power = 10 ** Math.floor(Math.log10(raw));
  const step = power * ([1, 2, 5, 10].find(factor => factor * power >= raw) ?? 10);
  const list = [];
  for (let i = Math.ceil(low / step - 1e-9); i * step <= high + 1e-9 * step; ++i) {
    list.push(Number((i * step).toPrecision(12)));
  }
  return list;
}

const axisName = column => column.unit ? `${column.name} [${column.unit}]` : column.name;

/// From values to places in the plot.
function scales(xLow, xHigh, yLow, yHigh) {
  const {width, height, left, right, top, bottom} = plotSize;
  return {
    x: value => left + (value - xLow) / (xHigh - xLow || 1) * (width - left - right),
    y: value => height - bottom - (value - yLow) / (yHigh - yLow || 1) * (height - top - bottom),
  };
}

/// An empty plot with its axes.
function makePlot(label, xTicks, yTicks, {x, y}, xName) {
  const {width, height, left, right, bottom} = plotSize;
  const svg = make('svg', {viewBox: `0 0 ${width} ${height}`, role: 'group', 'aria-label': label});
  for (const value of yTicks) {
    svg.append(make('line', {class: 'grid', x1: left, x2: width - right, y1: y(value), y2: y(value)}),
               make('text', {x: left - 6, y: y(value) + 4, class: 'end'}, String(value)));
  }
  for (const value of xTicks) {
    svg.append(make('text', {x: x(value), y: height - bottom + 15, class: 'middle'}, String(value)));
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
    const bins = low === high ? 1 : Math.min(24, Math.max(6, Math.ceil(Math.sqrt(known.length))));
    const width = (high - low) / bins;
    const binOf = number => Math.min(bins - 1, Math.floor((number - low) / width) || 0);
    const counts = new Array(bins).fill(0);
    for (const row of rows) {
      const number = column.numbers[row] ?? null;
      if (number !== null) ++counts[binOf(number)];
    }
    this.bars(column, counts, low, high, binOf);
  }

  bars(column, counts, low, high, binOf) {
    const most = Math.max(1, ...counts);
    const scale = scales(low, high, 0, most);
    const edge = at => low + (high - low) * at / counts.length;
    const text = number => String(Number(number.toPrecision(4)));
    const svg = makePlot(`Histogram of ${column.name}`, ticks(low, high, plotSize.width / 90),
                         ticks(0, most, 3).filter(Number.isInteger), scale, axisName(column));
    const single = low === high;
    const marks = counts.map((count, at) => {
      const from = single ? plotSize.left : scale.x(edge(at));
      const to = single ? plotSize.width - plotSize.right : scale.x(edge(at + 1));
      const label = `${text(edge(at))} to ${text(edge(at + 1))}: ${counted(count, report.rowName)}`;
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
    const yLow = Math.min(0, ...values), yHigh = Math.max(0, ...values);
    const scale = scales(Math.min(...xs), Math.max(...xs), yLow, yHigh);
    const name = columns.length === 1 ? axisName(columns[0]) : 'value';
    const svg = makePlot(`${columns.map(axisName).join(', ')} over ${axisName(report.columns[x])}`,
                         ticks(Math.min(...xs), Math.max(...xs), plotSize.width / 80), ticks(yLow, yHigh, 4), scale,
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
