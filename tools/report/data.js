// The contents of the page.

const report = JSON.parse(document.getElementById('data').textContent);

/// Whole numbers of 16 bits out of base64.
function decodeShorts(text) {
  const bytes = atob(text);
  const shorts = new Int16Array(bytes.length >> 1);
  for (let i = 0; i < shorts.length; ++i) {
    shorts[i] = bytes.charCodeAt(2 * i) | bytes.charCodeAt(2 * i + 1) << 8;
  }
  return shorts;
}

/// {elements, bonds: [begin, end, order, ...], places: [x, y, z, ...] in angstrom}, or null.
function decodeMolecule(pose) {
  if (!pose) return null;
  const [structure, packed, ...middle] = pose;
  const places = typeof packed === 'string'
      ? Float64Array.from(decodeShorts(packed), (step, i) => middle[i % 3] + 0.001 * step) : packed;
  return {...report.structures[structure], places};
}

/// A field with its values as they were, and the largest one of either sign.
function decodeField(field) {
  const values = Float32Array.from(decodeShorts(field.values), step => field.scale * step);
  return {...field, values, largest: values.reduce((a, b) => Math.max(a, Math.abs(b)), 0)};
}

const rowCount = report.rows;
const isNumeric = column => column.numbers !== undefined;

/// With so many significant digits, less the zeros at their end.
function shortText(number, digits) {
  const rounded = Number(number.toPrecision(digits));
  if (!Number.isFinite(rounded)) return String(number);
  return rounded !== 0 && Math.abs(rounded) < 1e-4 ? rounded.toExponential() : String(rounded);
}

function numberText(number, decimals) {
  if (number === null) return '';
  return decimals === null ? shortText(number, 6) : number.toFixed(decimals);
}

function cellText(column, row) {
  return isNumeric(column) ? numberText(column.numbers[row] ?? null, column.decimals)
                           : column.texts[row] ?? '';
}

/// The name of a row, from its first column.
function rowTitle(row) {
  return report.columns.length > 0 ? cellText(report.columns[0], row) : '';
}

const counted = (count, noun) => `${count.toLocaleString('en')} ${noun}${count === 1 ? '' : 's'}`;

/// An element with attributes, and text or elements in it.
function make(tag, attributes = {}, ...children) {
  const svg = ['svg', 'rect', 'path', 'circle', 'line', 'text', 'g', 'title'].includes(tag);
  const element = svg ? document.createElementNS('http://www.w3.org/2000/svg', tag)
                      : document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}
