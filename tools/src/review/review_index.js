
(function () {
  'use strict';
  var table = document.getElementById('recordings');
  var body = table.tBodies[0];

  // Compares two sort keys of a column; empty keys go last either way.
  function compare(a, b, numeric, direction) {
    if (a === '' || b === '') return (a === '') - (b === '');
    var order = numeric ? Number(a) - Number(b) : a.localeCompare(b);
    return order * direction;
  }

  table.tHead.querySelectorAll('th').forEach(function (heading, column) {
    heading.addEventListener('click', function () {
      var direction = heading.getAttribute('aria-sort') === 'ascending' ? -1 : 1;
      var numeric = heading.dataset.type === 'number';
      table.tHead.querySelectorAll('th').forEach(function (other) { other.removeAttribute('aria-sort'); });
      heading.setAttribute('aria-sort', direction === 1 ? 'ascending' : 'descending');
      var rows = Array.prototype.slice.call(body.rows);
      var keys = rows.map(function (row) { return row.cells[column].dataset.sort; });
      var order = rows.map(function (row, index) { return index; });
      order.sort(function (i, j) { return compare(keys[i], keys[j], numeric, direction) || i - j; });
      order.forEach(function (index) { body.appendChild(rows[index]); });
    });
  });
})();
