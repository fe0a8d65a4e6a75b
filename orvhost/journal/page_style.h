// What the pages look like: at a screen of any width, light or dark, and on paper.
#ifndef ORVHOST_JOURNAL_PAGE_STYLE_H
#define ORVHOST_JOURNAL_PAGE_STYLE_H

namespace orvhost {

inline constexpr const char* kPageStyle = R"(
:root { color-scheme: light dark; --ground: #fff; --text: #1b1f24; --soft: #57606a; --line: #d0d7de; --track: #f3f5f7;
  --step: #c8d7ea; --command: #2f6fb2; --good: #1a7f37; --bad: #b3261e; --warn: #8a5a00; }
@media (prefers-color-scheme: dark) {
  :root { --ground: #14171b; --text: #e3e7eb; --soft: #9aa4af; --line: #353c44; --track: #1e2329; --step: #2d4059;
    --command: #6ea8e8; --good: #58c274; --bad: #ff8a80; --warn: #e0ac4e; }
}
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 75rem; padding: 1.5rem 1rem 3rem; background: var(--ground); color: var(--text);
  font: 1rem/1.5 system-ui, sans-serif; }
h1 { font-size: 1.5rem; margin: 0; }
h2 { font-size: 1.1rem; margin: 2rem 0 .5rem; }
code, td.text, .mono { font-family: ui-monospace, "DejaVu Sans Mono", monospace; font-size: .85rem; }
.soft { color: var(--soft); }
.verdict { display: inline-block; margin: .75rem 0; padding: .15rem .6rem; border: 2px solid; border-radius: .3rem;
  font-weight: 600; }
.good { color: var(--good); } .bad { color: var(--bad); } .warn { color: var(--warn); }
.versions { font-size: 1.25rem; margin: .25rem 0; }
.todo { border-left: .3rem solid var(--bad); padding: .1rem 0 .1rem 1rem; margin: 1rem 0; }
.todo.warn-box { border-color: var(--warn); }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .15rem 1rem; margin: .5rem 0; }
dt { color: var(--soft); } dd { margin: 0; overflow-wrap: anywhere; }
.row { display: grid; grid-template-columns: 17rem 1fr; gap: 0 1rem; border-top: 1px solid var(--line);
  padding: .35rem 0; break-inside: avoid; }
.row .name { font-size: .9rem; line-height: 1.3; overflow-wrap: anywhere; }
.track { position: relative; height: 2.2rem; align-self: center; background: var(--track); }
.track i { position: absolute; min-width: 2px; }
.track .step { top: 0; height: .7rem; background: var(--step); border: 1px solid var(--soft); }
.track .command { top: .85rem; height: 1.2rem; background: var(--command); }
.track .command.failed { background: none; border: 2px solid var(--bad); min-width: 5px; }
.track .pause { top: .85rem; height: 1.2rem; border: 1px dashed var(--soft); }
.track .flash { top: 0; height: 2.2rem; border-left: 3px solid var(--warn); }
.axis .track { height: 1.3rem; background: none; }
.axis span { position: absolute; font-size: .75rem; color: var(--soft); border-left: 1px solid var(--soft);
  padding-left: .2rem; white-space: nowrap; }
.legend { display: flex; flex-wrap: wrap; gap: .25rem 1.25rem; font-size: .85rem; padding: 0; list-style: none; }
.legend i { display: inline-block; width: 1.5rem; height: .8rem; margin-right: .4rem; vertical-align: -.05rem; }
.legend .step { background: var(--step); border: 1px solid var(--soft); } .legend .command { background: var(--command); }
.legend .failed { background: none; border: 2px solid var(--bad); } .legend .pause { border: 1px dashed var(--soft); }
.legend .flash { width: 0; border-left: 3px solid var(--warn); }
table { border-collapse: collapse; width: 100%; }
th { text-align: left; font-weight: 600; }
th, td { padding: .15rem .5rem; vertical-align: top; border-top: 1px solid var(--line); }
td.at { text-align: right; white-space: nowrap; color: var(--soft); font-variant-numeric: tabular-nums; }
td.text { overflow-wrap: anywhere; white-space: pre-wrap; }
tr.phase td { font-weight: 600; border-top-width: 2px; }
tr.failure td.text { color: var(--bad); font-weight: 600; }
td.result { white-space: nowrap; font-weight: 600; }
.answer { display: block; color: var(--soft); padding-left: 2ch; }
footer { margin-top: 2rem; font-size: .85rem; color: var(--soft); overflow-wrap: anywhere; }
@media (max-width: 45rem) {
  .row { grid-template-columns: 1fr; }
  table.checks tr { display: block; border-top: 1px solid var(--line); padding: .35rem 0; }
  table.checks td { display: block; border: 0; text-align: left; } table.checks thead { display: none; }
  table.checks td.at::after { content: " s"; }
  dl { grid-template-columns: 1fr; } dd { margin-bottom: .35rem; }
}
@media print {
  :root { color-scheme: light; --ground: #fff; --text: #000; --soft: #444; --line: #bbb; --track: #fff; --step: #ccd;
    --command: #246; --good: #064; --bad: #900; --warn: #640; }
  body { max-width: none; padding: 0; font-size: 10pt; }
  * { print-color-adjust: exact; }
  h2 { break-after: avoid; } tr { break-inside: avoid; } thead { display: table-header-group; }
}
)";

}  // namespace orvhost

#endif  // ORVHOST_JOURNAL_PAGE_STYLE_H
