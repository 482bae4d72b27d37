'use strict';

// Numbers and times as the page shows them, and small tools. Ratios are numbers 0..1, durations and
// times ms.

const NOTHING = '–';
const DAY_MS = 86400000;

// Narrow blanks that no line breaks at, between thousands.
const grouped = (n) => String(n).replace(/\B(?=(\d{3})+$)/g, '\u202f');
const ms = (value) => grouped(Math.round(value));
// Rounded down: 100.0 is said of nothing less.
const percent = (ratio) => (Math.floor(ratio * 1000 + 1e-9) / 10).toFixed(1);

// As the input prints it: DATE HH:MM:SS.mmm; [DAYSd ]HH:MM:SS.mmm where it has no dates.
function timeText(t) {
  const {midnight, dates} = [...report.calendar].reverse().find((input) => input.t <= t) ||
      report.calendar[0] || {midnight: 0, dates: []};
  const since = t - midnight;
  if (since < 0) {
    return `${since} ms`;
  }
  const two = (n) => String(Math.floor(n)).padStart(2, '0');
  const day = Math.floor(since / DAY_MS);
  const rest = since % DAY_MS;
  const clock = `${two(rest / 3600000)}:${two(rest / 60000 % 60)}:${two(rest / 1000 % 60)}` +
      `.${String(rest % 1000).padStart(3, '0')}`;
  const date = dates[day] || (day > 0 ? `${day}d` : '');
  return date ? `${date} ${clock}` : clock;
}

const TEXT_OF = {text: String, count: grouped, ms, percent, time: timeText};

// ---- Small tools.

const byId = (id) => document.getElementById(id);
const valueAt = (object, key) => key.split('.').reduce((value, part) => value[part], object);
const nameOf = (app) => app.app || '(no name)';
const measuredOf = (app) => app.series.filter((launch) => launch.durationMs !== null);

function add(parent, name, text = '', className = '') {
  const element = parent.appendChild(document.createElement(name));
  element.textContent = text;
  element.className = className;
  return element;
}

// An app's name, which breaks after its points and slashes first.
function addName(parent, elementName, name) {
  const element = add(parent, elementName);
  for (const part of name.match(/[^./]*[./]|[^./]+/g) || []) {
    element.append(part, document.createElement('wbr'));
  }
  return element;
}
