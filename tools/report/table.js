// The table of results: sorted, filtered, and drawn only where it is seen.

const rowHeight = 30;  // as in the style sheet
const spareRows = 8;   // drawn above and below what is seen

class Table {
  /// columns: those of the report. onPick(row) is called when a row becomes the chosen one.
  constructor(place, columns, onPick) {
    this.onPick = onPick;
    this.columns = [{name: '#', unit: '', decimals: 0,
                     numbers: Array.from({length: rowCount}, (_, row) => row + 1)}, ...columns];
    this.order = {column: 0, descending: false};
    this.passes = () => true;
    this.view = [];
    this.chosen = -1;
    this.build(place);
    this.update();
  }

  build(place) {
    this.head = make('div', {class: 'head', role: 'row', 'aria-rowindex': 1});
    this.columns.forEach((column, at) => this.head.append(this.headerCell(column, at)));
    this.body = make('div', {class: 'body', role: 'rowgroup'});
    this.grid = make('div', {role: 'grid', tabindex: 0, 'aria-label': `Table of ${report.rowName}s`,
                             'aria-colcount': this.columns.length, 'aria-readonly': true,
                             'aria-describedby': 'table-help'},
                     make('div', {role: 'rowgroup', class: 'header'}, this.head), this.body);
    this.grid.style.setProperty('--columns', this.columns.map(columnWidth).join(' '));
    place.append(this.grid, make('p', {id: 'table-help', class: 'hint'},
        'Arrow keys, Page Up, Page Down, Home and End: choose a row. Enter: zoom to it.'));
    this.grid.addEventListener('scroll', () => this.draw());
    this.grid.addEventListener('keydown', event => this.moveByKey(event));
    this.body.addEventListener('click', event => {
      const row = event.target.closest('[role=row]');
      if (row) this.pick(Number(row.dataset.row));
    });
    new ResizeObserver(() => this.draw()).observe(this.grid);
  }

  headerCell(column, at) {
    const button = make('button', {type: 'button', class: 'sort'}, make('span', {}, ...breakable(column.name)),
                        make('span', {class: 'unit'}, column.unit || '\u00a0'));
    button.addEventListener('click', () => this.sortBy(at));
    return make('div', {role: 'columnheader', class: isNumeric(column) ? 'number' : 'text',
                        title: column.unit ? `${column.name} [${column.unit}]` : column.name}, button);
  }

  /// A second time turns the order round. Numbers come largest first, but for the first column.
  sortBy(at) {
    const same = this.order.column === at;
    const descending = same ? !this.order.descending : at > 0 && isNumeric(this.columns[at]);
    this.order = {column: at, descending};
    this.update();
  }

  /// Shows the rows that pass.
  filter(passes) {
    this.passes = passes;
    this.update();
  }

  update() {
    this.view = [];
    for (let row = 0; row < rowCount; ++row) if (this.passes(row)) this.view.push(row);
    const {column, descending} = this.order;
    if (column > 0 || descending) this.view.sort(comparison(this.columns[column], descending));
    [...this.head.children].forEach((cell, at) => {
      const direction = descending ? 'descending' : 'ascending';
      cell.setAttribute('aria-sort', at === column ? direction : 'none');
    });
    this.grid.setAttribute('aria-rowcount', this.view.length + 1);
    this.body.replaceChildren();  // so that the place of scrolling fits what is left
    this.body.style.height = `${this.view.length * rowHeight}px`;
    this.reveal(this.view.indexOf(this.chosen));
    this.draw();
  }

  pick(row) {
    this.chosen = row;
    this.reveal(this.view.indexOf(row));
    this.draw();
    this.onPick(row);
  }

  /// Scrolls so that the row at a place of the view is seen.
  reveal(place) {
    if (place < 0) return;
    const top = place * rowHeight;
    const room = this.grid.clientHeight - this.head.offsetHeight;
    if (top < this.grid.scrollTop) this.grid.scrollTop = top;
    else if (top + rowHeight > this.grid.scrollTop + room) this.grid.scrollTop = top + rowHeight - room;
  }

  rowsOfPage() {
    return Math.max(1, Math.floor((this.grid.clientHeight - this.head.offsetHeight) / rowHeight) - 1);
  }

  draw() {
    const first = Math.max(0, Math.floor(this.grid.scrollTop / rowHeight) - spareRows);
    const seen = Math.ceil(this.grid.clientHeight / rowHeight) + 2 * spareRows;
    const rows = this.view.slice(first, first + seen).map((row, i) => this.rowElement(row, first + i));
    this.body.replaceChildren(...rows);
    if (document.getElementById(`row-${this.chosen}`)) {
      this.grid.setAttribute('aria-activedescendant', `row-${this.chosen}`);
    } else {
      this.grid.removeAttribute('aria-activedescendant');
    }
  }

  rowElement(row, place) {
    const element = make('div', {role: 'row', id: `row-${row}`, 'aria-rowindex': place + 2,
                                 'aria-selected': row === this.chosen, 'data-row': row,
                                 class: place % 2 ? 'odd' : 'even'});
    element.style.top = `${place * rowHeight}px`;
    for (const column of this.columns) {
      const text = cellText(column, row);
      element.append(make('div', {role: 'gridcell', class: isNumeric(column) ? 'number' : 'text',
                                  title: column.numbers?.[row] ?? text}, text));
    }
    return element;
  }

  moveByKey(event) {
    if (event.target !== this.grid || event.ctrlKey || event.metaKey || event.altKey) return;
    const at = this.view.indexOf(this.chosen);
    const last = this.view.length - 1;
    const places = {ArrowDown: at + 1, ArrowUp: at < 0 ? last : at - 1, Home: 0, End: last,
                    PageDown: at + this.rowsOfPage(), PageUp: at - this.rowsOfPage()};
    if (event.key === 'Enter') this.grid.dispatchEvent(new CustomEvent('zoom'));
    else if (event.key in places && last >= 0) {
      this.pick(this.view[Math.min(last, Math.max(0, places[event.key]))]);
    } else return;
    event.preventDefault();
  }
}

/// A name that may be broken behind its underscores.
const breakable = name => name.split(/(?<=_)/).flatMap((part, i) => i ? [make('wbr'), part] : [part]);

/// Missing values come last in either order; equal ones stay as given.
function comparison(column, descending) {
  const turn = descending ? -1 : 1;
  if (!isNumeric(column)) {
    const collator = new Intl.Collator('en', {numeric: true, sensitivity: 'base'});
    return (a, b) => turn * collator.compare(column.texts[a] ?? '', column.texts[b] ?? '');
  }
  return (a, b) => {
    const u = column.numbers[a] ?? null, v = column.numbers[b] ?? null;
    if (u === null || v === null) return (u === null) - (v === null);
    return turn * (u - v);
  };
}

/// Wide enough for what the column holds, within limits.
function columnWidth(column) {
  let longest = 0;
  for (let row = 0; row < rowCount; ++row) longest = Math.max(longest, cellText(column, row).length);
  const words = column.name.split(/[\s_]+/).map(word => word.length + 2);
  const least = Math.max(...words, (column.unit ?? '').length, isNumeric(column) ? 4 : 12);
  const wide = Math.min(32, Math.max(longest, least)) + 2;
  return isNumeric(column) ? `${wide}ch` : `minmax(${Math.min(wide, 20)}ch, ${wide}fr)`;
}
