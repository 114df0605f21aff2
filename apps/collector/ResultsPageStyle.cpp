// The results page's stylesheet: one column on a phone, the survey list beside the results on a
// wider screen; system fonts; light and dark colours with text contrast of at least 4.5:1; a
// visible focus ring on every control.

#include "collector/ResultsPage.h"

namespace vlq::collector {

std::string_view resultsPageStyle() {
  return R"CSS(:root {
  color-scheme: light dark;
  --text: #1b1f24;
  --muted: #4b5563;
  --page: #ffffff;
  --panel: #f3f4f6;
  --line: #d1d5db;
  --bar: #2563eb;
  --track: #e5e7eb;
  --link: #1d4ed8;
  --problem: #b91c1c;
  --focus: #f59e0b;
}
@media (prefers-color-scheme: dark) {
  :root {
    --text: #f3f4f6;
    --muted: #cbd5e1;
    --page: #111827;
    --panel: #1f2937;
    --line: #374151;
    --bar: #60a5fa;
    --track: #374151;
    --link: #93c5fd;
    --problem: #fca5a5;
  }
}
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; text-size-adjust: 100%; }
body {
  margin: 0;
  font: 16px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Liberation Sans", sans-serif;
  color: var(--text);
  background: var(--page);
}
a { color: var(--link); }
a:focus-visible, button:focus-visible, input:focus-visible, summary:focus-visible {
  outline: 3px solid var(--focus);
  outline-offset: 2px;
}
[hidden] { display: none !important; }
body > main { padding: 1rem max(1rem, calc((100% - 72rem) / 2 + 1rem)); }
body > main h2 { font-size: 1.25rem; margin: 0 0 1rem; }
.skip { position: absolute; left: -9999px; }
.skip:focus { left: 1rem; top: 1rem; background: var(--page); padding: .5rem; z-index: 1; }
header { padding: 1rem max(1rem, calc((100% - 72rem) / 2 + 1rem)); border-bottom: 1px solid var(--line); }
header h1 { margin: 0; font-size: 1.5rem; }
header p { margin: .25rem 0 0; color: var(--muted); }
header { display: flex; flex-wrap: wrap; align-items: center; gap: .25rem 1rem; }
header h1 { flex: 1 1 auto; }
header p { flex-basis: 100%; order: 1; }
.sign-out button {
  font: inherit; min-height: 2.75rem; padding: .4rem 1rem; border: 1px solid var(--line);
  border-radius: .375rem; background: var(--page); color: var(--text);
}
.layout { display: grid; grid-template-columns: 1fr; gap: 1rem; padding: 1rem; max-width: 72rem; margin: 0 auto; }
@media (min-width: 48rem) { .layout { grid-template-columns: 15rem 1fr; } }
nav h2, section h2 { font-size: 1.25rem; margin: 0 0 .5rem; }
main { min-width: 0; }
section { margin: 0 0 2rem; }
article { margin: 0 0 1.5rem; padding: 1rem; background: var(--panel); border-radius: .5rem; }
article h3 { margin: 0; font-size: 1.1rem; overflow-wrap: anywhere; }
h4 { margin: 1rem 0 .25rem; font-size: 1rem; }
.surveys { list-style: none; margin: 0; padding: 0; }
.surveys li { padding: .5rem 0; border-bottom: 1px solid var(--line); overflow-wrap: anywhere; }
.surveys a[aria-current="page"] { font-weight: 700; color: var(--text); }
.note { color: var(--muted); font-size: .9rem; margin: .25rem 0; }
.problem { color: var(--problem); font-weight: 600; }
.filter { display: flex; flex-wrap: wrap; gap: .5rem 1rem; align-items: end; margin: 0 0 1.5rem; }
.filter label { display: flex; flex-direction: column; font-size: .9rem; }
.filter input, .filter button {
  font: inherit; padding: .4rem .5rem; min-height: 2.75rem;
  border: 1px solid var(--line); border-radius: .375rem; background: var(--page); color: var(--text);
}
.filter button { background: var(--bar); border-color: var(--bar); color: #ffffff; padding: .4rem 1rem; }
@media (prefers-color-scheme: dark) { .filter button { color: #111827; } }
.filter a { align-self: center; }
.filter .note { flex-basis: 100%; }
.figures { display: grid; grid-template-columns: repeat(auto-fit, minmax(9rem, 1fr)); gap: .5rem; margin: 1rem 0; }
.figures div { background: var(--panel); border-radius: .5rem; padding: .75rem; }
.figures dt { color: var(--muted); font-size: .9rem; }
.figures dd { margin: 0; font-size: 1.5rem; font-weight: 700; }
table { width: 100%; border-collapse: collapse; margin: .5rem 0; }
caption { text-align: left; color: var(--muted); font-size: .9rem; padding-bottom: .25rem; }
th, td { padding: .4rem .25rem; border-bottom: 1px solid var(--line); text-align: left; vertical-align: top; }
thead th { font-size: .85rem; color: var(--muted); font-weight: 600; }
tbody th { font-weight: 400; overflow-wrap: anywhere; }
.number { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; width: 5.5rem; }
.bars tbody th { width: auto; }
.bar { display: block; width: 100%; height: .6rem; margin-top: .3rem; }
.bar .track { fill: var(--track); }
.fill { fill: var(--bar); }
.columns { margin: .5rem 0; }
.columns svg { display: block; width: 100%; height: 10rem; background: var(--panel); border-radius: .375rem; }
.axis { display: flex; justify-content: space-between; gap: .5rem; color: var(--muted); font-size: .8rem; }
figcaption { margin-top: .25rem; }
details { margin: .5rem 0; }
summary { cursor: pointer; color: var(--link); min-height: 2.75rem; display: flex; align-items: center; }
.others { margin: 0; padding-left: 1.25rem; }
.others li { margin: .25rem 0; overflow-wrap: anywhere; white-space: pre-wrap; }
.downloads { margin: .5rem 0 0; }
)CSS";
}

}  // namespace vlq::collector
