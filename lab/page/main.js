// Puts the page together.

const model = new Model(JSON.parse(byId("data").textContent));
const selection = new Selection(model);

function verdict() {
  const { state } = model;
  const notAsAsked = new Set(state.mismatches.map((item) => item.entry)).size;
  const parts = [];
  if (state.refused.length) parts.push(`${counted(state.refused.length, "rule was", "rules were")} refused`);
  if (notAsAsked) parts.push(`${counted(notAsAsked, "entry does", "entries do")} not match exactly as asked`);
  byId("verdict").classList.toggle("bad", parts.length > 0);
  byId("verdict").textContent = parts.length ? `${parts.join("; ")}.` :
    state.entries.length ? `${counted(state.entries.length, "entry", "entries")}: each matches exactly the ports it was asked for.` : "No entry is installed.";
}

document.title = `${model.title}: class IDs`;
byId("title").textContent = model.title;
byId("subtitle").textContent = model.subtitle;

let spaceMaps, classIdTable, portBits, entryPorts;

function drawState() {
  verdict();
  drawLegend(byId("legend"));
  portBits = new Matrix(byId("port-bits"), portBitsSource(model, selection));
  entryPorts = new Matrix(byId("entry-ports"), entryPortsSource(model, selection));
  if (spaceMaps) { spaceMaps.draw(); classIdTable.draw(); }
  else {
    spaceMaps = new SpaceMaps(model, selection, byId("spaces"));
    classIdTable = new ClassIdTable(model, selection, byId("class-ids"));
  }
  drawMismatches(model, selection, byId("not-as-asked"), byId("mismatches"));
  drawRefused(model, byId("refusals"), byId("refused"));
}

if (model.states.length > 1) {
  byId("states").hidden = false;
  model.states.forEach((state, index) => byId("states").append(make("label", {},
    make("input", { type: "radio", name: "state", value: index, checked: index === model.current,
      onchange: () => { model.current = index; selection.clear(); drawState(); } }), state.name)));
}
drawState();
new Details(model, selection);
new Finder(model, selection);

let wasOnly = false;
selection.onChange(() => {
  const only = selection.any && selection.only;
  if (only || wasOnly) {
    portBits.show(portBitsSource(model, selection));
    entryPorts.show(entryPortsSource(model, selection));
  }
  wasOnly = only;
  if (selection.any) { portBits.revealSelection(); entryPorts.revealSelection(); }
  else { portBits.schedule(); entryPorts.schedule(); }
});
byId("only").addEventListener("change", (event) => {
  selection.only = event.target.checked;
  selection.select(selection.chosen);
});
document.addEventListener("keydown", (event) => { if (event.key === "Escape" && event.target === document.body) selection.clear(); });

const redraw = () => { drawLegend(byId("legend")); portBits.layout(); entryPorts.layout(); };
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", redraw);
addEventListener("beforeprint", () => {
  document.documentElement.classList.add("paper");
  drawLegend(byId("legend"));
  portBits.draw(true);
  entryPorts.draw(true);
});
addEventListener("afterprint", () => {
  document.documentElement.classList.remove("paper");
  redraw();
});
