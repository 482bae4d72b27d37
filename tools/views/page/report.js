'use strict';

// Fills the page from the object in #data. Names of apps and files come from foreign logs: they are
// only ever set as text.
const report = JSON.parse(document.getElementById('data').textContent);

const FEW_APPS = 12;  // so many are opened at once, and need no search
const ROWS_AT_ONCE = 200;

// ---- Tables. The cells of a table's head name the key and the kind of each column.

function columnsOf(table) {
  // In the order of the columns, not of the two rows that the head may have.
  const cells = [];
  const rows = [...table.tHead.rows];
  const below = rows.length > 1 ? [...rows[1].cells] : [];
  for (const cell of rows[0].cells) {
    const grouping = cell.scope === 'colgroup';
    const own = grouping ? below.splice(0, cell.colSpan) : [cell];
    cells.push(...own.map((one) => ({cell: one, group: grouping ? cell.textContent : ''})));
  }
  return cells.map(({cell, group}) => {
    const {key, kind} = cell.dataset;
    cell.classList.toggle('number', kind !== 'text');
    return {cell, group, key, kind};
  });
}

function addRow(table, columns, object) {
  const row = table.tBodies[0].insertRow();
  columns.forEach(({key, kind}, i) => {
    const value = valueAt(object, key);
    const cell = add(row, i === 0 ? 'th' : 'td', value === null ? NOTHING : TEXT_OF[kind](value),
                     kind === 'text' ? '' : 'number');
    if (i === 0) {
      cell.scope = 'row';
    }
  });
  return row;
}

// What is not there comes last in both directions.
function comparing(key, sign) {
  return (a, b) => {
    const [x, y] = [valueAt(a, key), valueAt(b, key)];
    if (x === null || y === null) {
      return (x === null) - (y === null);
    }
    return sign * (x < y ? -1 : x > y ? 1 : 0);
  };
}

function makeSortable(columns, sorted) {
  const sortBy = ({cell, key, kind}) => {
    const first = kind === 'text' ? 'ascending' : 'descending';
    const other = first === 'ascending' ? 'descending' : 'ascending';
    const order = cell.getAttribute('aria-sort') === first ? other : first;
    columns.forEach((column) => column.cell.removeAttribute('aria-sort'));
    cell.setAttribute('aria-sort', order);
    sorted(comparing(key, order === 'ascending' ? 1 : -1));
  };
  for (const column of columns) {
    const text = column.cell.textContent;
    column.cell.textContent = '';
    const button = add(column.cell, 'button', text);
    button.type = 'button';
    if (column.group) {  // several groups have a column of this name
      button.setAttribute('aria-label', `${column.group}: ${text.replace(/\u00ad/g, '')}`);
    }
    button.addEventListener('click', () => sortBy(column));
  }
}

// ---- The summary.

function fillSummary() {
  const {apps, launches, measured, passedOver, learnedApps, disabledApps, firstT, lastT} =
      report.summary;
  document.title = `Launch boosts: ${report.title}`;
  byId('inputs').textContent = `${report.title}, replayed on KestrelStarts ${report.version}` +
      (launches > 0 ? `, ${timeText(firstT)} to ${timeText(lastT)}` : '');
  if (report.interrupted) {
    const {input, percent, events} = report.interrupted;
    byId('partial').textContent = `Only a part of the inputs: the replay was interrupted at ` +
        `${percent} % of ${input}, after ${grouped(events)} events.`;
    byId('partial').hidden = false;
  }
  for (const {name, notes} of report.inputs) {
    notes.forEach(({text}) => add(byId('notes'), 'li', `${name}: ${text}`));
  }
  const tiles = [['apps', apps], ['learned', learnedApps], ['disabled', disabledApps],
                 ['launches', launches], ['with a first frame', measured],
                 ['passed over', passedOver]];
  for (const [name, count] of tiles) {
    const tile = add(byId('tiles'), 'div');
    add(tile, 'dt', name);
    add(tile, 'dd', grouped(count));
  }
  byId('verdict').textContent = verdict();
}

function verdict() {
  if (report.summary.launches === 0) {
    return report.featureOff ? `No launches: ${report.featureOff}.` : 'No launches.';
  }
  const policy = (id) => report.policies.find((candidate) => candidate.id === id);
  const [ours, other] = [policy('kestrel'), policy('fixed5000')];
  if (ours.launches === 0) {
    return 'No launch has a first frame, so there is nothing to compare.';
  }
  const covered = ({coverage}) => percent(coverage.mean);
  const wasted = ({wastedMs}) => ms(wastedMs.mean);
  // As shown: nothing is said of what no reader can see.
  const beside = (shown, key) => shown(ours) === shown(other) ? 'as much' :
      valueAt(ours, key) < valueAt(other, key) ? 'less' : 'more';
  return `Over ${grouped(ours.launches)} launches with a first frame KestrelStarts covered ` +
      `${covered(ours)} % of a launch and wasted ${wasted(ours)} ms on average, and boosted ` +
      `${ms(ours.boostedMs)} ms in all; 5000 ms for every launch would have covered ` +
      `${covered(other)} %, wasted ${wasted(other)} ms and boosted ${ms(other.boostedMs)} ms. ` +
      `So KestrelStarts covered ${beside(covered, 'coverage.mean')} of a launch and wasted ` +
      `${beside(wasted, 'wastedMs.mean')}.`;
}

// ---- The comparison of the policies.

function fillPolicies() {
  const columns = columnsOf(byId('policies'));
  for (const policy of report.policies) {
    addRow(byId('policies'), columns, policy).className = classOf(policy);
  }
  const bars = [['Covered of a launch, mean', 'coverage.mean', (v) => `${percent(v)} %`],
                ['Wasted per launch, mean', 'wastedMs.mean', (v) => `${ms(v)} ms`],
                ['Boosted in all', 'boostedMs', (v) => `${ms(v)} ms`]];
  for (const [title, key, text] of bars) {
    const figure = add(byId('bars'), 'figure');
    add(figure, 'figcaption', title);
    const svg = d3.select(figure).append('svg').attr('role', 'img')
        .attr('aria-label', `Bars: ${title}. The table below has the numbers.`);
    whenSized(figure, PAPER_BARS_WIDTH,
              (width) => drawBars(svg, width, report.policies, key, text));
  }
}

// ---- An app's panel.

const list = (values) => values.length > 0 ?
    `${d3.extent(values).map(ms).join(' to ')} ms, median ${ms(d3.median(values))} ms` : NOTHING;

function markText({t, kind, durationMs}) {
  return kind === 'learned' ? `learned ${ms(durationMs)} ms at ${timeText(t)}` :
                              `${kind} at ${timeText(t)}`;
}

// The chart in words.
function describe(app) {
  const told = app.marks.slice(0, 8).map(markText);
  if (app.marks.length > told.length) {
    told.push(`${grouped(app.marks.length - told.length)} more changes`);
  }
  return `Time to the first frame: ${list(measuredOf(app).map((launch) => launch.durationMs))}. ` +
      `Boost held: ${list(app.series.map((launch) => launch.boostMs))}.` +
      (told.length > 0 ? ` Changes: ${told.join('; ')}.` : '');
}

function launchText(launch, i) {
  const or = (value) => value === null ? 'none' : `${ms(value)} ms`;
  const frame = launch.durationMs === null ? 'no first frame seen' :
                                             `first frame after ${ms(launch.durationMs)} ms`;
  return `${grouped(i + 1)}, ${timeText(launch.t)}, ${launch.phase}: ${frame}, boost held ` +
      `${ms(launch.boostMs)} ms (default ${or(launch.defaultMs)}, ` +
      `launch ${or(launch.requestedMs)} asked for)`;
}

// An app's chart, and the slider that reads one launch of it.
class LaunchChart {
  constructor(panel, app) {
    [this.slider, this.zoom] = panel.querySelectorAll('.reader input');
    this.output = panel.querySelector('output');
    this.letters = panel.querySelectorAll('.legend .with-letters');
    this.noLetters = panel.querySelector('.legend .without-letters');
    this.svg = d3.select(panel.querySelector('figure > svg'));
    this.app = {...app, first: 0, longestMs: longestOf(app.series)};
    this.reading = false;
    this.slider.max = app.series.length;
    this.slider.value = 1;
    panel.querySelector('.zoom').hidden = app.series.length <= 2 * ZOOMED_LAUNCHES;
    this.listen();
    whenSized(panel.querySelector('figure'), PAPER_WIDTH, (width) => this.draw(width));
  }

  listen() {
    const draw = () => this.draw(Number(this.svg.attr('width')));
    this.zoom.addEventListener('change', draw);
    byId('axis').addEventListener('change', draw);
    this.slider.addEventListener('input', () => {
      this.read();
      draw();
    });
    this.svg.on('pointerdown pointermove', () => {
      const left = this.svg.node().getBoundingClientRect().left;
      this.slider.value = this.drawn.nearest(d3.event.clientX - left) + 1;
      this.read();
      this.drawn.show(this.slider.value - 1);  // where it is: another part would run away
    });
  }

  draw(width) {
    const part = this.zoom.checked ? partAround(this.app, this.slider.value - 1) : this.app;
    this.drawn = drawLaunches(this.svg, width, part, byId('axis').value === 'time');
    this.letters.forEach((entry) => { entry.hidden = !this.drawn.hasLetters; });
    this.noLetters.hidden = this.drawn.hasLetters;
    if (this.reading) {
      this.drawn.show(this.slider.value - 1);
    }
  }

  read() {
    const i = this.slider.value - 1;
    this.reading = true;
    this.output.textContent = launchText(this.app.series[i], i);
    this.slider.setAttribute('aria-valuetext', this.output.textContent);
  }
}

function fillRows(details, app) {
  const table = details.querySelector('table');
  const more = details.querySelector('button');
  const columns = columnsOf(table);
  table.caption.textContent = `Launches of ${nameOf(app)}`;
  details.querySelector('.scroll').setAttribute('aria-label', table.caption.textContent);
  const addMore = () => {
    const from = table.tBodies[0].rows.length;
    app.series.slice(from, from + ROWS_AT_ONCE).forEach((launch, i) =>
        addRow(table, columns, {...launch, number: from + i + 1}));
    more.hidden = from + ROWS_AT_ONCE >= app.series.length;
  };
  more.addEventListener('click', addMore);
  details.addEventListener('toggle', addMore, {once: true});
}

function fillPanel(panel, app) {
  panel.append(byId('panel-body').content.cloneNode(true));
  panel.querySelector('figure > svg').setAttribute(
      'aria-label', `Chart: the launches of ${nameOf(app)}, described in the text below`);
  panel.querySelector('figcaption').textContent = describe(app);
  fillRows(panel.querySelector('.rows'), app);
  new LaunchChart(panel, app);
}

function addPanel(app, i) {
  const panel = add(byId('panels'), 'details', '', 'panel');
  panel.id = `app-${i + 1}`;
  const summary = add(panel, 'summary');
  addName(summary, 'h3', nameOf(app));
  add(summary, 'span', `${app.state}${app.learnedMs === null ? '' : ` ${ms(app.learnedMs)} ms`}, ` +
      `${grouped(app.measured)} of ${grouped(app.launches)} launches with a first frame`);
  panel.addEventListener('toggle', () => fillPanel(panel, app), {once: true});
  return panel;
}

// ---- The apps.

function linkTo(panel, row, name) {
  row.cells[0].textContent = '';
  const link = addName(row.cells[0], 'a', name);
  link.href = `#${panel.id}`;
  link.addEventListener('click', () => { panel.open = true; });
}

function connectSearch(entries) {
  byId('search-control').hidden = entries.length <= FEW_APPS;
  byId('search').addEventListener('input', () => {
    const wanted = byId('search').value.trim().toLowerCase();
    let found = 0;
    for (const {app, row, panel} of entries) {
      row.hidden = panel.hidden = !app.app.toLowerCase().includes(wanted);
      found += row.hidden ? 0 : 1;
    }
    byId('found').textContent = wanted ? `${found} of ${entries.length} apps` : '';
  });
}

function connectControls(panels) {
  const setOpen = (open) => panels.filter((panel) => !panel.hidden)
      .forEach((panel) => { panel.open = open; });
  byId('open-all').addEventListener('click', () => setOpen(true));
  byId('close-all').addEventListener('click', () => setOpen(false));
  setOpen(panels.length <= FEW_APPS);
}

function fillApps() {
  const columns = columnsOf(byId('apps'));
  const entries = report.apps.map((app, i) => {
    const [row, panel] = [addRow(byId('apps'), columns, app), addPanel(app, i)];
    linkTo(panel, row, nameOf(app));
    return {app, row, panel};
  });
  columns[0].cell.setAttribute('aria-sort', 'ascending');  // as the data are
  makeSortable(columns, (compare) => {
    entries.sort((a, b) => compare(a.app, b.app));
    byId('apps').tBodies[0].append(...entries.map(({row}) => row));
    byId('panels').append(...entries.map(({panel}) => panel));
  });
  connectSearch(entries);
  connectControls(entries.map(({panel}) => panel));
}

// The panel that the address names was not there when the browser looked for it.
function showNamedPanel() {
  const panel = byId(location.hash.slice(1));
  if (panel && panel.classList.contains('panel')) {
    panel.open = true;
    panel.scrollIntoView();
  }
}

fillSummary();
if (report.apps.length > 0) {
  fillPolicies();
  fillApps();
  showNamedPanel();
} else {
  document.querySelectorAll('.needs-launches').forEach((section) => { section.hidden = true; });
}
