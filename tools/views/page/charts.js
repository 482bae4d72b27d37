'use strict';

// The charts: SVG of the width that there is, coloured by the style alone, so that it follows the
// light, the dark and paper by itself.

const ZOOMED_LAUNCHES = 200;
const PAPER_WIDTH = 690;  // px, of a panel's chart; the bars stand three abreast
const PAPER_BARS_WIDTH = 225;
const TIME_STEPS_MS = [1000, 10000, 60000, 600000, 3600000, 6 * 3600000, DAY_MS, 7 * DAY_MS];

// Draws now, whenever the width changes, and for paper. No script can ask for paper's width: the
// style fits the drawing in. What is closed has no width, and is drawn once it opens. Drawing
// changes the height, which a size observer must not do itself: it waits for the frame.
function whenSized(element, paperWidth, draw) {
  let drawn = 0;
  let printing = false;
  const drawAnew = () => {
    const width = printing ? paperWidth : element.clientWidth;
    if (element.clientWidth > 0 && width !== drawn) {
      drawn = width;
      draw(width);
    }
  };
  const setPrinting = (now) => {
    printing = now;
    drawAnew();
  };
  drawAnew();
  new ResizeObserver(() => requestAnimationFrame(drawAnew)).observe(element);
  addEventListener('beforeprint', () => setPrinting(true));
  addEventListener('afterprint', () => setPrinting(false));
}

function clear(svg, width, height) {
  svg.attr('viewBox', `0 0 ${width} ${height}`).attr('width', width).selectAll('*').remove();
}

// The launches around one of them, with what was decided in between.
function partAround(app, i) {
  const most = Math.max(0, app.series.length - ZOOMED_LAUNCHES);
  const first = Math.min(most, Math.max(0, i - ZOOMED_LAUNCHES / 2));
  const series = app.series.slice(first, first + ZOOMED_LAUNCHES);
  const [from, to] = [series[0].t, series[series.length - 1].t];
  return {...app, series, first, marks: app.marks.filter(({t}) => t >= from && t <= to)};
}

// Where launches are along the axis: their middles, and edges[i] where launch i begins.
function horizontalOf({series, first}, range, byTime) {
  const times = series.map((launch) => launch.t);
  const [from, to] = [times[0], times[times.length - 1]];
  const scale = d3.scaleLinear().range(range)
      .domain(byTime ? [from, Math.max(to, from + 1)] : [first + 0.5, first + times.length + 0.5]);
  const middles = times.map((t, i) => scale(byTime ? t : first + i + 1));
  const edges = times.map((t, i) => scale(byTime ? t : first + i + 0.5)).concat(range[1]);
  return {scale, middles, edges, at: (t) => edges[d3.bisectLeft(times, t)]};
}

function horizontalAxis(scale, byTime) {
  const [first, last] = scale.domain();
  const room = scale.range()[1] - scale.range()[0];
  const most = Math.max(2, Math.floor(room / (byTime ? 140 : 60)));
  const axis = d3.axisBottom(scale).tickSizeOuter(0);
  if (!byTime) {
    const whole = scale.ticks(Math.min(most, last - first)).filter(Number.isInteger);
    return axis.tickValues(whole).tickFormat(grouped);
  }
  const step = TIME_STEPS_MS.find((candidate) => (last - first) / candidate <= most) ||
      d3.tickStep(first, last, most);
  return axis.tickValues(d3.range(Math.ceil(first / step) * step, last, step))
      .tickFormat((t) => timeText(t).replace(/\.000$/, ''));
}

const longestOf = (series) =>
    d3.max(series, (launch) => Math.max(launch.durationMs, launch.boostMs, 1000));

// Logarithmic, so that 500 ms can be told beside 15000 ms, but for the first 100 ms: 0 has a place.
function verticalOf(longestMs, range) {
  const top = 1.1 * longestMs;
  const scale = d3.scaleSymlog().constant(100).domain([0, top]).range(range);
  const factors = top < 1e7 ? [1, 2, 5] : [1];
  const ticks = [0];
  for (let unit = 100; unit <= top; unit *= 10) {
    ticks.push(...factors.map((factor) => factor * unit).filter((tick) => tick <= top));
  }
  return {scale, ticks};
}

// Stretches of launches in one phase other than learned; they end before `end`.
function stretchesOf(series) {
  const stretches = [];
  series.forEach(({phase}, i) => {
    const previous = stretches[stretches.length - 1];
    if (previous && previous.phase === phase) {
      previous.end = i + 1;
    } else {
      stretches.push({phase, first: i, end: i + 1});
    }
  });
  return stretches.filter(({phase}) => phase !== 'learned');
}

// Dots as one path; those that would cover another are drawn once.
function dotsPath(points) {
  const half = (value) => Math.round(value * 2) / 2;
  return [...new Set(points.map(([x, y]) => `M${half(x)},${half(y)}h0`))].join('');
}

// Of the points in one column of pixels, the first, the lowest, the highest and the last.
function thinned(points) {
  const columns = d3.group(points, ([x]) => Math.round(x)).values();
  return [...columns].flatMap((column) => {
    const height = ([, y]) => y;
    const kept = new Set([0, d3.minIndex(column, height), d3.maxIndex(column, height),
                          column.length - 1]);
    return [...kept].sort((a, b) => a - b).map((i) => column[i]);
  });
}

function drawPhases(svg, series, edges, [bottom, top]) {
  for (const {phase, first, end} of stretchesOf(series)) {
    const [left, right] = [edges[first], edges[end]];
    svg.append('rect').attr('class', phase).attr('x', left).attr('y', top)
        .attr('width', Math.max(right - left, 1)).attr('height', bottom - top);
    svg.append('path').attr('class', `strip ${phase}`).attr('d', `M${left},${top + 2}H${right}`);
  }
}

const LETTER_WIDTH = 11;
const LETTER_OF = {learned: 'L', relearning: 'R', disabled: 'D', removed: 'X'};

// Where there are many, they stay above the chart and without their letters. Returns whether they
// have letters.
function drawMarks(svg, marks, at, [bottom, top]) {
  const many = marks.length * LETTER_WIDTH > Number(svg.attr('width')) / 2;
  let free = -Infinity;
  for (const {t, kind} of marks) {
    const x = at(t);
    svg.append('path').attr('class', `mark ${kind}`)
        .attr('d', many ? `M${x},${top - 8}V${top}` : `M${x},${top}V${bottom}`);
    if (!many && x >= free) {
      svg.append('text').attr('class', 'letter').attr('x', x).attr('y', top - 5)
          .text(LETTER_OF[kind]);
      free = x + LETTER_WIDTH;
    }
  }
  return !many;
}

function drawAxes(svg, horizontal, vertical, x, y, byTime) {
  const left = () => d3.axisLeft(y.scale).tickValues(y.ticks);
  const group = (name, dx, dy) => svg.append('g').attr('class', name)
      .attr('transform', `translate(${dx},${dy})`);
  group('grid', horizontal[0], 0)
      .call(left().tickSize(horizontal[0] - horizontal[1]).tickFormat(''));
  group('axis', horizontal[0], 0).call(left().tickFormat(grouped).tickSizeOuter(0));
  group('axis', 0, vertical[0]).call(horizontalAxis(x, byTime));
  svg.append('text').attr('y', 12).text(byTime ? 'ms, by time' : 'ms, by number of launch');
}

function drawBoosts(svg, series, edges, y) {
  const held = edges.map((x, i) => [x, y(series[Math.min(i, series.length - 1)].boostMs)]);
  svg.append('path').attr('class', 'boost')
      .attr('d', d3.line().curve(d3.curveStepAfter)(thinned(held)));
}

function drawMeasured(svg, width, series, middles, y) {
  const points = series.map((launch, i) => [middles[i], y(launch.durationMs)])
      .filter((point, i) => series[i].durationMs !== null);
  svg.append('path').attr('class', 'dots').attr('stroke-width', points.length > width ? 3 : 5)
      .attr('d', dotsPath(points));
}

// `series` begins with launch `first` of the app, whose longest duration is `longestMs`. Returns
// show(i), which marks launch i, and nearest(x), the launch at x; both count from the app's first;
// and hasLetters, of the marks.
function drawLaunches(svg, width, {series, marks, first, longestMs}, byTime) {
  const height = 300;
  const vertical = [height - 24, 36];
  const y = verticalOf(longestMs, vertical);
  const horizontal = [7 * grouped(y.ticks[y.ticks.length - 1]).length + 14, width - 26];
  const {scale, middles, edges, at} = horizontalOf({series, first}, horizontal, byTime);
  clear(svg, width, height);
  drawPhases(svg, series, edges, vertical);
  drawAxes(svg, horizontal, vertical, scale, y, byTime);
  const hasLetters = drawMarks(svg, marks, at, vertical);
  drawBoosts(svg, series, edges, y.scale);
  drawMeasured(svg, width, series, middles, y.scale);
  const chosen = svg.append('path').attr('class', 'chosen');
  return {
    show: (i) => chosen.attr('d', `M${middles[i - first]},${vertical[0]}V${vertical[1]}`),
    nearest: (x) => first + d3.bisectCenter(middles, x),
    hasLetters,
  };
}

const classOf = ({id}) => ({kestrel: 'kestrel', kestrelLearning: 'part', kestrelLearned: 'part',
                            ideal: 'ideal'})[id] || '';

function drawBars(svg, width, policies, key, textOf) {
  const rowHeight = 38;
  const values = policies.map((policy) => valueAt(policy, key));
  const texts = values.map((value) => value === null ? NOTHING : textOf(value));
  const textWidth = 8 * d3.max(texts, (text) => text.length) + 10;
  const x = d3.scaleLinear().domain([0, d3.max(values) || 1]).range([0, width - textWidth]);
  clear(svg, width, rowHeight * values.length);
  const rows = svg.selectAll('g').data(policies).join('g')
      .attr('transform', (policy, i) => `translate(1,${i * rowHeight})`);
  rows.append('text').attr('y', 13).attr('class', classOf).text((policy) => policy.name);
  rows.append('rect').attr('class', (policy) => `bar ${classOf(policy)}`).attr('y', 18)
      .attr('height', 13).attr('width', (policy, i) => x(values[i] || 0));
  rows.append('text').attr('y', 29).attr('x', (policy, i) => x(values[i] || 0) + 6)
      .text((policy, i) => texts[i]);
}
