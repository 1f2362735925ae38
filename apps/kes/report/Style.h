// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace tool {

/// The page's style sheet. HTML takes it as it stands: it has no character that XML would escape.
constexpr char const* styleSheet = R"(
:root{--ink:#1b2733;--soft:#5b6b7a;--line:#d8dfe6;--paper:#fff;--back:#f3f5f7;--c0:#c2410c;--c1:#0f5fa8;--c2:#6d3fb0;
--bad:#b00020;--good:#1d7a3e;--warn:#9a6200;--plate:#ffffffd9;color-scheme:light dark}
@media (prefers-color-scheme:dark){:root{--ink:#e3e9ef;--soft:#9aa9b8;--line:#36424e;--paper:#1a222a;--back:#11171d;
--c0:#ff9a5c;--c1:#6db8ff;--c2:#c4a1ff;--bad:#ff7b8a;--good:#6fd08c;--warn:#f0b860;--plate:#1a222ad9}
.relief{filter:brightness(.45)}}
*{box-sizing:border-box}
body{margin:0;background:var(--back);color:var(--ink);font:15px/1.5 system-ui,'DejaVu Sans',Arial,sans-serif}
main,header,footer{max-width:1240px;margin:0 auto;padding:0 24px}
header{padding-top:28px}
h1{font-size:28px;line-height:1.2;margin:0 0 4px;overflow-wrap:anywhere}
h2{font-size:20px;margin:36px 0 12px}
h3{font-size:16px;margin:26px 0 8px}
p{margin:6px 0 12px;max-width:80ch}
.sub,.unit,caption,.notes{color:var(--soft)}
.sub{overflow-wrap:anywhere}
section,article{background:var(--paper);border:1px solid var(--line);border-radius:8px;padding:4px 20px 18px;
margin:18px 0}
section h2,article h2{margin-top:16px}
.tiles{display:grid;grid-template-columns:repeat(auto-fit,minmax(124px,1fr));gap:10px;margin:20px 0 0;padding:0}
.tile{background:var(--paper);border:1px solid var(--line);border-radius:8px;padding:10px 12px}
.tile dt{color:var(--soft);font-size:13px}
.tile dd{margin:0;font-size:18px;font-weight:600;white-space:nowrap;font-variant-numeric:tabular-nums}
.good dd{color:var(--good)}.bad dd{color:var(--bad)}.warn dd{color:var(--warn)}
.scroll{overflow-x:auto;margin:8px 0 14px}
table{border-collapse:collapse;width:100%;font-size:14px;font-variant-numeric:tabular-nums}
caption{text-align:left;padding:0 0 4px;font-size:14px}
th,td{padding:4px 10px;border-bottom:1px solid var(--line);text-align:right;white-space:nowrap}
thead th{font-weight:600;border-bottom:2px solid var(--line);vertical-align:bottom}
th:first-child,td:first-child{text-align:left;padding-left:0}
tbody th{font-weight:500}
.texts td{text-align:left;white-space:normal;overflow-wrap:anywhere}
.figures{display:grid;grid-template-columns:repeat(auto-fit,minmax(min(100%,480px),1fr));gap:8px 28px}
figure{margin:10px 0;min-width:0}
figcaption{display:flex;flex-wrap:wrap;gap:2px 14px;align-items:baseline;font-size:14px;margin-bottom:4px}
svg{display:block;width:100%;height:auto}
svg.map{max-height:680px}
svg text{font-size:12px;fill:var(--soft);font-family:inherit;font-variant-numeric:tabular-nums}
.grid{stroke:var(--line)}
.band{stroke-width:1.4;stroke-linejoin:round;stroke-linecap:round;fill-opacity:.45}
.curve{fill:none;stroke-width:2}
.c0{stroke:var(--c0);fill:var(--c0)}.c1{stroke:var(--c1);fill:var(--c1)}.c2{stroke:var(--c2);fill:var(--c2)}
.outlier{stroke:var(--bad);fill:var(--bad)}
.curve.c0,.curve.c1,.curve.c2{fill:none}
.key::before{content:'';display:inline-block;width:14px;height:4px;border-radius:2px;margin-right:6px;
vertical-align:middle;background:var(--soft)}
.key.c0::before{background:var(--c0)}.key.c1::before{background:var(--c1)}.key.c2::before{background:var(--c2)}
.key.outlier::before{background:var(--bad)}.key.flightkey::before{background:var(--ink);height:2px}
.key.pointkey::before{background:none;width:0;height:0;border:5px solid transparent;border-bottom:8px solid var(--good);
border-top:0;border-radius:0}
.paper{fill:var(--back)}
.border{fill:none;stroke:var(--soft)}
.graticule{stroke:var(--ink);stroke-opacity:.16}
.outline{fill-opacity:.12;stroke-width:1.5;stroke-linejoin:round}
.flight{fill:none;stroke:var(--ink);stroke-width:1.6}
.head{fill:var(--ink)}
.point{fill:var(--good);stroke:var(--paper);stroke-width:1}
svg text.name{font-size:13px;font-weight:600;fill:var(--ink);stroke:var(--paper);stroke-width:3px;paint-order:stroke;
stroke-linejoin:round}
.plate{fill:var(--plate)}
.bar{fill:none;stroke:var(--ink);stroke-width:2}
svg .plate~text{fill:var(--ink)}
.residual path{fill:none;stroke-width:1.4}
.findings li{margin:3px 0;overflow-wrap:anywhere}
footer{color:var(--soft);font-size:13px;padding-top:6px;padding-bottom:36px;overflow-wrap:anywhere}
@media (max-width:600px){main,header,footer{padding-left:12px;padding-right:12px}
section,article{padding:2px 12px 12px}h1{font-size:23px}svg text{font-size:15px}svg.map text{font-size:22px}
svg.map text.name{font-size:24px}.tiles{grid-template-columns:1fr 1fr}}
@media print{:root{--ink:#000;--soft:#444;--line:#bbb;--paper:#fff;--back:#fff;--c0:#c2410c;--c1:#0f5fa8;--c2:#6d3fb0;
--bad:#b00020;--good:#1d7a3e;--warn:#9a6200;--plate:#ffffffd9;color-scheme:light}
.relief{filter:none}body{font-size:10pt}main,header,footer{max-width:none;padding:0}
section,article{border:0;padding:0;margin:12px 0}figure,tr,.tile{break-inside:avoid}h2,h3{break-after:avoid}
.scroll{overflow:visible}table{font-size:8.5pt}th,td{padding:2px 5px}}
)";

}  // namespace tool
