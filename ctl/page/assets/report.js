"use strict";
// Puts an interactive chart in the place of each picture. Everything on the page can be read without it.
(function () {
  if (typeof Dygraph === "undefined") {
    return;
  }
  // The library's own legend sets style attributes, which the page's policy forbids; the page has its own.
  Dygraph.PLUGINS = Dygraph.PLUGINS.filter(function (plugin) { return plugin !== Dygraph.Plugins.Legend; });
  var charts = [];
  var dark = window.matchMedia("(prefers-color-scheme: dark)");

  function colour(name) {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
  }

  function two(number) {
    return (number < 10 ? "0" : "") + number;
  }

  function clock(milliseconds) {
    var date = new Date(milliseconds);
    return two(date.getUTCHours()) + ":" + two(date.getUTCMinutes()) + ":" + two(date.getUTCSeconds());
  }

  function plain(value) {
    return String(Math.round(value * (Math.abs(value) < 10 ? 100 : 10)) / (Math.abs(value) < 10 ? 100 : 10));
  }

  function format(value, unit) {
    var units = ["KiB", "MiB", "GiB", "TiB", "PiB"];
    var at = 0;
    if (unit !== "KiB") {
      return plain(value) + (unit ? " " + unit : "");
    }
    if (value === 0) {
      return "0";
    }
    while (value >= 1000 && at + 1 < units.length) {
      value /= 1024;
      at += 1;
    }
    return plain(value) + " " + units[at];
  }

  // Marks of memory stand at whole units; those of everything else are the library's.
  function memoryTicks(low, high) {
    var unit = 1;
    var ticks = [];
    while (high / unit >= 1024) {
      unit *= 1024;
    }
    var raw = (high - low) / unit / 4;
    var power = Math.pow(10, Math.floor(Math.log10(raw)));
    var step = [1, 2, 5, 10].find(function (factor) { return raw <= factor * power * 1.0001; }) * power * unit;
    for (var value = Math.ceil(low / step) * step; value <= high; value += step) {
      ticks.push({ v: value, label: format(value, "KiB") });
    }
    return ticks;
  }

  // Samples are a second apart at least, so marks stand at whole seconds, as in the static picture.
  function timeTicks(low, high, pixels) {
    var span = (high - low) / 1000;
    var day = 86400;
    var most = Math.max(pixels / 90, 1);
    var step = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, day]
      .find(function (seconds) { return span / seconds <= most; }) || Math.ceil(span / day / most) * day;
    var ticks = [];
    for (var value = Math.ceil(low / 1000 / step) * step; value * 1000 <= high; value += step) {
      ticks.push({ v: value * 1000, label: clock(value * 1000) });
    }
    return ticks;
  }

  function underlay(numbers) {
    return function (canvas, area, chart) {
      canvas.strokeStyle = colour("--bad");
      canvas.lineWidth = 1.5;
      if (numbers.limit >= 0) {
        var y = chart.toDomYCoord(numbers.limit);
        canvas.setLineDash([6, 4]);
        canvas.beginPath();
        canvas.moveTo(area.x, y);
        canvas.lineTo(area.x + area.w, y);
        canvas.stroke();
        canvas.setLineDash([]);
      }
      var range = chart.xAxisRange();
      if (numbers.mark * 1000 >= range[0] && numbers.mark * 1000 <= range[1]) {
        var x = chart.toDomXCoord(numbers.mark * 1000);
        canvas.beginPath();
        canvas.moveTo(x, area.y);
        canvas.lineTo(x, area.y + area.h);
        canvas.stroke();
      }
    };
  }

  function showValues(legend, numbers, row) {
    legend.forEach(function (entry, index) {
      var value = row === null ? null : numbers.rows[row][index + 1];
      entry.textContent = value === null ? "" : format(value, numbers.unit);
    });
  }

  function theme() {
    return {
      colors: ["--s0", "--s1", "--s2", "--s3", "--s4", "--s5"].map(colour),
      gridLineColor: colour("--faint"),
      axisLineColor: colour("--faint")
    };
  }

  // The library draws no mark at the very end of the axis, so the axis is a little longer than the samples.
  function options(numbers, legend) {
    var chosen = {
      labels: ["time"].concat(numbers.names.map(function (name, index) { return index + " " + name; })),
      labelsUTC: true, legend: "never", strokeWidth: 1.8, gridLineWidth: 1, highlightCircleSize: 3,
      valueRange: [0, numbers.highest * 1.02], connectSeparatedPoints: false, animatedZooms: false,
      xRangePad: 1, rightGap: 14,
      axes: {
        x: { ticker: timeTicks },
        y: { axisLabelFormatter: function (value) { return format(value, numbers.unit); }, axisLabelWidth: 62 }
      },
      underlayCallback: underlay(numbers),
      highlightCallback: function (event, x, points, row) { showValues(legend, numbers, row); },
      unhighlightCallback: function () { showValues(legend, numbers, null); }
    };
    if (numbers.unit === "KiB") {
      chosen.axes.y.ticker = memoryTicks;
    }
    return Object.assign(chosen, theme());
  }

  function build(figure) {
    var numbers = JSON.parse(figure.querySelector('script[type="application/json"]').textContent);
    var live = document.createElement("div");
    var legend = Array.prototype.slice.call(figure.querySelectorAll(".legend li"), 0, numbers.names.length)
      .map(function (item) { return item.appendChild(document.createElement("b")); });
    var rows = numbers.rows.map(function (row) { return [row[0] * 1000].concat(row.slice(1)); });
    live.className = "live";
    figure.classList.add("is-live");
    figure.insertBefore(live, figure.querySelector(".picture"));
    charts.push(new Dygraph(live, rows, options(numbers, legend)));
  }

  Array.prototype.forEach.call(document.querySelectorAll("figure.chart"), build);
  dark.addEventListener("change", function () {
    charts.forEach(function (chart) { chart.updateOptions(theme()); });
  });
}());
