
(function () {
  'use strict';
  var root = document.documentElement;
  var review = document.getElementById('review');
  var rate = Number(review.dataset.rate);
  var samples = Number(review.dataset.samples);
  var minutes = Number(review.dataset.minutes);
  var seconds = samples / rate;
  var scroller = document.getElementById('scroller');
  var strip = document.getElementById('strip');
  var overview = document.getElementById('overview');
  var windowBox = document.getElementById('overview-window');
  var printPages = document.getElementById('print-pages');
  var PRINT_WIDTH_CM = 25;

  function speed() { return Number(root.dataset.speed); }

  // The seconds of the recording at the strip's left and right edges.
  function visibleSeconds() {
    var width = strip.getBoundingClientRect().width;
    return [scroller.scrollLeft / width * seconds,
            (scroller.scrollLeft + scroller.clientWidth) / width * seconds];
  }

  // Scrolls so that the given second sits at the given fraction of the window.
  function showSecond(second, fraction) {
    var width = strip.getBoundingClientRect().width;
    scroller.scrollLeft = second / seconds * width - scroller.clientWidth * fraction;
  }

  function drawWindow() {
    var shown = visibleSeconds();
    windowBox.style.left = (shown[0] / seconds * 100) + '%';
    windowBox.style.width = (Math.min(shown[1], seconds) - shown[0]) / seconds * 100 + '%';
  }

  function setSpeed(value) {
    var shown = visibleSeconds();
    root.dataset.speed = value;
    root.style.setProperty('--speed', value);
    document.querySelectorAll('#strip-svg .grid.seconds').forEach(function (lines) {
      lines.classList.toggle('off', value === 1);
    });
    showSecond((shown[0] + shown[1]) / 2, 0.5);
    drawWindow();
    buildPrintPages();
  }

  // Events, baseline curves and marks carry the methods they belong to.
  function applyMethodSwitches() {
    var on = {};
    document.querySelectorAll('input[data-method]').forEach(function (input) {
      on[input.dataset.method] = input.checked;
    });
    document.querySelectorAll('[data-methods]').forEach(function (element) {
      var shown = element.dataset.methods.split(' ').some(function (name) { return on[name]; });
      element.classList.toggle('off', !shown);
    });
  }

  function selectEvent(id, scroll) {
    document.querySelectorAll('.selected').forEach(function (element) {
      element.classList.remove('selected');
    });
    var row = document.querySelector('#event-table tr[data-event="' + id + '"]');
    var shape = strip.querySelector('[data-event="' + id + '"]');
    if (!row || !shape) return;
    row.classList.add('selected');
    shape.classList.add('selected');
    if (scroll === 'strip') {
      showSecond((Number(row.dataset.start) + Number(row.dataset.end)) / 2, 0.5);
    } else {
      row.scrollIntoView({ block: 'nearest' });
    }
  }

  // The overview moves the strip: the window centres where it is clicked or dragged.
  function followPointer(event) {
    var box = overview.getBoundingClientRect();
    showSecond((event.clientX - box.left) / box.width * seconds, 0.5);
  }

  function tickLabels(from, to, every) {
    var labels = document.createElement('div');
    labels.className = 'times';
    for (var minute = Math.ceil(from / every) * every; minute <= to; minute += every) {
      var tick = document.createElement('span');
      tick.className = 'tick m2 m5';
      tick.style.left = ((minute - from) / (to - from) * 100) + '%';
      tick.textContent = minute;
      labels.appendChild(tick);
    }
    return labels;
  }

  // One stretch of the strip per printed page, at the chosen paper speed.
  function buildPrintPages() {
    var perPage = Math.max(1, Math.floor(PRINT_WIDTH_CM / speed()));
    var every = { 1: 5, 2: 2, 3: 1 }[speed()];
    var axis = document.querySelector('.strip-row .axis');
    var count = Math.ceil(minutes / perPage);
    var svgNs = 'http://www.w3.org/2000/svg';
    printPages.textContent = '';
    for (var page = 0; page < count; ++page) {
      var from = page * perPage;
      var section = document.createElement('section');
      section.className = 'print-page';
      var title = document.createElement('p');
      title.className = 'print-title';
      title.textContent = document.title.replace(/ - CTG review$/, '') + ' \u00b7 minutes ' + from +
        ' to ' + (from + perPage) + ' \u00b7 ' + speed() + ' cm/min \u00b7 page ' + (page + 1) +
        ' of ' + count;
      var row = document.createElement('div');
      row.className = 'print-row';
      var stretch = document.createElement('div');
      stretch.className = 'print-strip';
      stretch.style.width = (perPage * speed()) + 'cm';
      var svg = document.createElementNS(svgNs, 'svg');
      svg.setAttribute('viewBox', (from * 60 * rate) + ' 0 ' + (perPage * 60 * rate) + ' 130');
      svg.setAttribute('preserveAspectRatio', 'none');
      var use = document.createElementNS(svgNs, 'use');
      use.setAttribute('href', '#strip-content');
      svg.appendChild(use);
      stretch.appendChild(svg);
      stretch.appendChild(tickLabels(from, from + perPage, every));
      row.appendChild(axis.cloneNode(true));
      row.appendChild(stretch);
      section.appendChild(title);
      section.appendChild(row);
      printPages.appendChild(section);
    }
  }

  document.querySelectorAll('input[name="speed"]').forEach(function (input) {
    input.addEventListener('change', function () { setSpeed(Number(input.value)); });
  });
  document.querySelectorAll('input[data-method]').forEach(function (input) {
    input.addEventListener('change', applyMethodSwitches);
  });
  document.querySelectorAll('#event-table tbody tr').forEach(function (row) {
    row.addEventListener('click', function () { selectEvent(row.dataset.event, 'strip'); });
  });
  strip.addEventListener('click', function (event) {
    var shape = event.target.closest('[data-event]');
    if (shape) selectEvent(shape.dataset.event, 'table');
  });
  overview.addEventListener('pointerdown', function (event) {
    overview.setPointerCapture(event.pointerId);
    followPointer(event);
    overview.addEventListener('pointermove', followPointer);
  });
  overview.addEventListener('pointerup', function () {
    overview.removeEventListener('pointermove', followPointer);
  });
  // The arrow keys page through the strip by one window.
  document.addEventListener('keydown', function (event) {
    if (event.target.matches('input, textarea, select')) return;
    var direction = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (!direction) return;
    event.preventDefault();
    scroller.scrollLeft += direction * scroller.clientWidth;
  });
  scroller.addEventListener('scroll', drawWindow, { passive: true });
  window.addEventListener('resize', drawWindow);
  drawWindow();
  buildPrintPages();
})();
