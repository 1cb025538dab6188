// The style sheet of all reports.
#pragma once

namespace simcam {

// From 360 pixels of width on, a page never scrolls sideways; tables do so inside their boxes.
// Figures are drawn for some 400 pixels and shown at about that width on every screen, so that
// their texts keep their size.
inline constexpr const char* kReportStyle = R"css(
:root { color-scheme: light; }
* { box-sizing: border-box; }
body { font: 15px/1.5 system-ui, -apple-system, "Segoe UI", "Liberation Sans", Arial, sans-serif;
  color: #20242b; background: #f6f7f9; margin: 0; overflow-wrap: anywhere; }
main { max-width: 1160px; margin: 0 auto; padding: 28px clamp(10px, 3vw, 24px) 48px; }
h1 { font-size: clamp(21px, 4vw, 26px); line-height: 1.25; margin: 0 0 4px; }
h2 { font-size: 17px; margin: 34px 0 10px; }
.sub { color: #4d5460; margin: 0 0 22px; }
.notice { background: #fff; border: 1px solid #8a8f98; border-left: 6px solid #e69f00;
  border-radius: 8px; padding: 10px 14px; margin: 0 0 18px; }
.failed { border-left: 6px double #d55e00; }
.failed b { font-size: 17px; }
.notice ul { margin: 2px 0 0; padding-left: 20px; }
.cards { display: grid; gap: 12px;
  grid-template-columns: repeat(auto-fit, minmax(min(100%, 140px), 1fr)); }
.card { background: #fff; border: 1px solid #e3e6ea; border-radius: 8px; padding: 12px 14px; }
.card b { display: block; font-size: 22px; font-weight: 600; }
.card span { color: #4d5460; font-size: 13px; }
.figures { display: grid; gap: 16px; align-items: start;
  grid-template-columns: repeat(auto-fill, minmax(min(100%, 340px), 1fr)); }
.even { grid-template-columns: repeat(auto-fit, minmax(min(100%, max(340px, 34%)), 1fr)); }
figure { background: #fff; border: 1px solid #e3e6ea; border-radius: 8px; margin: 0;
  padding: 12px 10px 8px; }
figure svg { display: block; width: 100%; max-width: 520px; height: auto; margin: 0 auto; }
figure.wide svg { max-width: 800px; }
figcaption { color: #4d5460; font-size: 13px; padding: 6px 4px 0; }
.keys { display: flex; flex-wrap: wrap; gap: 2px 18px; color: #4d5460; font-size: 13px;
  list-style: none; margin: 10px 0 0; padding: 0; }
.keys svg { display: inline-block; width: 26px; height: 18px; vertical-align: -4px;
  margin-right: 6px; }
svg text { font-family: inherit; fill: #30363f; }
svg .title { font-size: 14.5px; font-weight: 600; fill: #20242b; }
svg .axis { font-size: 12.5px; fill: #4d5460; }
svg .tick { font-size: 12px; fill: #4d5460; }
svg .mark { font-size: 12px; fill: inherit; }
svg .grid { stroke: #eceef1; stroke-width: 1; }
svg .zero { stroke: #9aa1ab; stroke-width: 1; }
svg .band { fill: #e3f1ec; }
svg .label { font-weight: 600; fill: #fff; stroke: #111; stroke-width: 3px; paint-order: stroke;
  stroke-linejoin: round; }
.scroll { overflow-x: auto; background: #fff; border: 1px solid #e3e6ea; border-radius: 8px; }
table { border-collapse: collapse; width: 100%; font-size: 13.5px;
  font-variant-numeric: tabular-nums; overflow-wrap: normal; }
th, td { text-align: right; padding: 5px 12px; border-bottom: 1px solid #eceef1; }
th { color: #4d5460; font-weight: 600; }
td { white-space: nowrap; }
th:first-child, td:first-child { text-align: left; }
.facts td, .facts th { text-align: left; vertical-align: top; }
.facts td { white-space: normal; overflow-wrap: anywhere; }
.facts td:first-child { overflow-wrap: normal; }
tr:last-child td { border-bottom: 0; }
details { margin-top: 34px; }
summary { font-size: 17px; font-weight: 600; cursor: pointer; }
pre { background: #fff; border: 1px solid #e3e6ea; border-radius: 8px; padding: 10px 12px;
  white-space: pre-wrap; font-size: 13px; }
@media print { .scroll { overflow: visible; } }
)css";

}  // namespace simcam
