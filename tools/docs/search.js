// Search over all pages without a server: zavo_index, of search_index.js, is a list
// of [address, page, section, words, keywords]. Every word that is typed must begin some word
// of an entry; titles count most.
(function () {
  "use strict";
  var box = document.getElementById("search");
  var found = document.getElementById("found");
  var root = document.body.getAttribute("data-root") || "";
  var chosen = -1;
  function words(text) {
    return text.toLowerCase().split(/[^a-z0-9_\u00c0-\u024f]+/).filter(Boolean);
  }
  function begins(list, word) {
    var n = 0;
    for (var i = 0; i < list.length; i++) {
      if (list[i].indexOf(word) === 0) n += list[i] === word ? 2 : 1;
    }
    return n;
  }
  var entries = window.zavo_index.map(function (row) {
    return { row: row, page: words(row[1]), section: words(row[2]), text: words(row[3]),
      keywords: words(row[4] || "") };
  });
  function score(entry, terms) {
    var sum = 0;
    for (var i = 0; i < terms.length; i++) {
      var here = 20 * begins(entry.page, terms[i]) + 8 * begins(entry.section, terms[i]) +
        15 * Math.min(2, begins(entry.keywords, terms[i])) +
        Math.min(5, begins(entry.text, terms[i]));
      // zavo_fft_real is found by fft, too.
      if (!here && (entry.row[1] + entry.row[2]).toLowerCase().indexOf(terms[i]) >= 0) here = 6;
      if (!here && entry.row[3].toLowerCase().indexOf(terms[i]) >= 0) here = 1;
      if (!here) return 0;
      sum += here;
    }
    return sum;
  }
  function snippet(text, term) {
    var at = Math.max(0, text.toLowerCase().indexOf(term) - 40);
    return (at ? "\u2026" : "") + text.substr(at, 140) + (at + 140 < text.length ? "\u2026" : "");
  }
  function show() {
    var terms = words(box.value);
    found.textContent = "";
    chosen = -1;
    if (!terms.length) return;
    var hits = entries.map(function (entry) { return [score(entry, terms), entry.row]; })
      .filter(function (hit) { return hit[0] > 0; })
      .sort(function (a, b) { return b[0] - a[0]; });
    // The best place of each page.
    var pages = {};
    hits = hits.filter(function (hit) {
      var page = hit[1][0].split("#")[0];
      return pages[page] ? false : (pages[page] = true);
    }).slice(0, 12);
    var list = document.createElement("ol");
    hits.forEach(function (hit) {
      var item = document.createElement("li"), link = document.createElement("a"), small = document.createElement("small");
      link.href = root + hit[1][0];
      link.textContent = hit[1][1] + (hit[1][2] ? ": " + hit[1][2] : "");
      small.textContent = snippet(hit[1][3], terms[0]);
      item.appendChild(link);
      item.appendChild(small);
      list.appendChild(item);
    });
    if (!hits.length) {
      var none = document.createElement("li");
      none.textContent = "Nothing found.";
      list.appendChild(none);
    }
    found.appendChild(list);
  }
  box.addEventListener("input", show);
  box.addEventListener("keydown", function (event) {
    var items = found.querySelectorAll("li a");
    if (event.key === "Escape") { box.value = ""; show(); }
    if (!items.length) return;
    if (event.key === "ArrowDown" || event.key === "ArrowUp") {
      event.preventDefault();
      chosen = (chosen + (event.key === "ArrowDown" ? 1 : items.length - 1) + items.length) % items.length;
      for (var i = 0; i < items.length; i++) items[i].parentNode.className = i === chosen ? "chosen" : "";
    }
    if (event.key === "Enter") { location.href = items[Math.max(0, chosen)].href; }
  });
  document.addEventListener("keydown", function (event) {
    if (event.key === "/" && document.activeElement !== box) { event.preventDefault(); box.focus(); }
  });
  show();
})();
