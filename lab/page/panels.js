// The tables, and the panel that tells about the selection.

class ClassIdTable {
  constructor(model, selection, host) {
    Object.assign(this, { model, selection, host });
    selection.onChange(() => this.highlight());
    this.draw();
  }

  draw() {
    const { model, selection } = this;
    this.rows = model.state.classIds.map((id) => make("tr", {},
      make("td", { class: "n" }, make("span", { class: "swatch", style: { "--c": model.colour(id.pool.group) }, "aria-hidden": "true" }), String(id.pool.group)),
      make("td", { class: "whole" }, model.state.spaces[id.pool.space].name),
      make("td", { class: "n" }, make("button", { type: "button", class: "link", onclick: () => selection.select({ classId: id.index }),
        "aria-label": `class ID ${id.value} of group ${id.pool.group}` }, String(id.value))),
      make("td", { class: "bits-of" }, id.bits.join(", ")),
      make("td", { class: "n" }, id.entries.length.toLocaleString("en")),
      make("td", {}, model.users(id)),
      make("td", {}, model.portList(members(id.ports)))));
    const head = ["Group", "Space", "Class ID", "Bits", "Entries", "Used by", "Ports"].map((text, column) =>
      make("th", { scope: "col", class: [0, 2, 4].includes(column) ? "n" : "" }, text));
    this.table = make("table", {}, make("thead", {}, make("tr", {}, head)), make("tbody", {}, this.rows));
    this.host.replaceChildren(make("div", { class: "scroll", tabindex: 0, role: "region", "aria-label": "Class IDs" }, this.table));
    this.highlight();
  }

  highlight() {
    this.table.classList.toggle("selecting", this.selection.any);
    this.rows.forEach((row, index) => row.classList.toggle("on", this.selection.classIds.has(this.model.state.classIds[index])));
  }
}

class Details {
  constructor(model, selection) {
    Object.assign(this, { model, selection });
    this.nothing = byId("details").firstElementChild;
    byId("clear").addEventListener("click", () => selection.clear());
    selection.onChange(() => this.draw());
    this.draw();
  }

  draw() {
    const { chosen } = this.selection;
    byId("clear").hidden = byId("only-label").hidden = !chosen;
    byId("selection").classList.toggle("empty", !chosen);
    const [heading, facts] = chosen ? this.describe(chosen) : ["Nothing is selected", null];
    byId("h-selection").textContent = heading;
    byId("details").replaceChildren(facts ? make("dl", {}, facts) : this.nothing);
  }

  fact(name, ...content) { return content.length && content[0] != null ? [make("dt", {}, name), make("dd", {}, ...content)] : []; }
  link(text, chosen) { return make("button", { type: "button", class: "link", onclick: () => this.selection.select(chosen) }, text); }
  list(items, most = 40) {
    const more = items.length > most ? [make("li", {}, `and ${(items.length - most).toLocaleString("en")} more`)] : [];
    return items.length ? make("ul", {}, items.slice(0, most).map((item) => make("li", {}, item)), more) : "none";
  }
  entryLinks(entries) { return this.list(entries.map((entry) => this.link(`${entry.name} (entry ${entry.id})`, { entry: entry.index }))); }
  classIdLink(id) { return this.link(`group ${id.pool.group}, class ID ${id.value}: ${this.model.users(id) || "no entry"}`, { classId: id.index }); }
  reasons(test, portOf) {
    const found = this.model.state.mismatches.filter(test);
    const reasons = new Map();
    for (const item of found) reasons.set(item.reason, [...(reasons.get(item.reason) ?? []), portOf(item)]);
    const shorten = (names) => names.slice(0, 6).join(", ") + (names.length > 6 ? ` and ${names.length - 6} more` : "");
    return found.length ? this.fact("Not as asked", this.list([...reasons].map(([reason, names]) => `${shorten(names)}: ${reason}`), 20)) : [];
  }

  describe(chosen) {
    const { state } = this.model;
    if ("port" in chosen) return this.port(state, chosen.port);
    if ("bit" in chosen) return this.bit(state, chosen.space, chosen.bit);
    if ("classId" in chosen) return this.classId(state, state.classIds[chosen.classId]);
    if ("entry" in chosen) return this.entry(state, state.entries[chosen.entry]);
    if ("table" in chosen) return this.table(state, chosen.table);
    return this.group(state, chosen.group);
  }

  port(state, port) {
    const readings = state.pools.map((pool) => state.reading(port, pool)).filter((item) => item.value);
    const matching = state.entries.filter((entry) => entry.matched[port]);
    return [this.model.portName(port), [
      this.fact("Carries", this.list(readings.map(({ pool, value, classId }) =>
        classId ? this.classIdLink(classId) : `group ${pool.group}: ${value}, which is not lent`))),
      this.fact(counted(matching.length, "entry matches", "entries match"), this.entryLinks(matching)),
      this.reasons((item) => item.ports[port], (item) => item.entry.name),
    ].flat()];
  }

  bit(state, space, bit) {
    const carriers = state.carriers(space, bit);
    const pools = state.owners[space][bit];
    return [`Bit ${bit} of ${state.spaces[space].name}`, [
      this.fact("Lies in", pools.length ? this.list(pools.map((pool) => this.link(`pool ${pool.id} of group ${pool.group}, bits ${pool.offset} to ${pool.offset + pool.width - 1}`, { group: pool.group }))) : "no pool: it is free"),
      this.fact("Set by", this.list(state.holdersOf(space, bit).map((id) => this.classIdLink(id)))),
      this.fact(`Carried by ${counted(carriers.length, "port", "ports")}`, this.model.portList(carriers, 60)),
    ].flat()];
  }

  classId(state, id) {
    const matched = new Set(id.entries.flatMap((entry) => members(entry.matched)));
    return [`Class ID ${id.value} of group ${id.pool.group}`, [
      this.fact("Lies at", `${state.spaces[id.pool.space].name}, pool ${id.pool.id}: sets ${id.bits.length > 1 ? "bits" : "bit"} ${id.bits.join(", ")} of ${id.pool.offset} to ${id.pool.offset + id.pool.width - 1}`),
      id.reserved ? this.fact("Reserved at start-up for", id.reserved) : [],
      this.fact("Put on", this.model.portList(members(id.ports), 60)),
      id.entries.length ? this.fact("Its entries match", this.model.portList([...matched].sort((a, b) => a - b), 60)) : [],
      this.fact(counted(id.entries.length, "entry", "entries"), this.entryLinks(id.entries)),
    ].flat()];
  }

  entry(state, entry) {
    const { classId } = entry;
    return [entry.name, [
      this.fact("Entry", `${entry.id}, in group ${classId.pool.group}`),
      entry.text ? this.fact("Rule", entry.text) : [],
      this.fact("Class ID", this.classIdLink(classId)),
      this.fact("Asked for", this.model.portList(members(entry.asked), 60)),
      this.fact("Matches", this.model.portList(members(entry.matched), 60)),
      this.reasons((item) => item.entry === entry, (item) => this.model.portList(members(item.ports), 8)),
      this.compared(state, entry),
    ].flat()];
  }

  // Bit by bit against the first port that is not as asked.
  compared(state, entry) {
    const port = this.model.ports.findIndex((_, index) => entry.asked[index] !== entry.matched[index]);
    if (port < 0) return [];
    const { pool, value } = entry.classId;
    const bits = Array.from({ length: pool.width }, (_, bit) => pool.width - 1 - bit);
    const wants = (bit) => Math.floor(value / 2 ** bit) % 2;
    const has = (bit) => state.carried[pool.space][port][pool.offset + bit];
    const row = (name, text) => make("tr", {}, make("th", { scope: "row" }, name), bits.map((bit) =>
      make("td", { class: wants(bit) !== has(bit) ? "differs" : "" }, String(text(bit)))));
    return this.fact(`Bit by bit, on ${this.model.portName(port)}`, make("table", { class: "compare" },
      row("bit", (bit) => pool.offset + bit), row("wants", wants), row("has", has)));
  }

  table(state, table) {
    const entries = state.entries.filter((entry) => entry.table === table);
    const ids = [...new Set(entries.map((entry) => entry.classId))];
    return [table, [
      this.fact(counted(ids.length, "class ID", "class IDs"), this.list(ids.map((id) => this.classIdLink(id)))),
      this.fact(counted(entries.length, "rule", "rules"), this.entryLinks(entries)),
    ].flat()];
  }

  group(state, group) {
    const pools = state.pools.filter((pool) => pool.group === group);
    return [`Group ${group}`, [
      this.fact(counted(pools.length, "pool", "pools"), this.list(pools.map((pool) => `pool ${pool.id}: bits ${pool.offset} to ${pool.offset + pool.width - 1} of ${state.spaces[pool.space].name}`))),
      this.fact("Class IDs", this.list(state.classIds.filter((id) => id.pool.group === group).map((id) => this.classIdLink(id)))),
    ].flat()];
  }
}

// Entries and ports of one reason together.
function drawMismatches(model, selection, section, host) {
  const reasons = new Map();
  for (const item of model.state.mismatches) {
    if (!reasons.has(item.reason)) reasons.set(item.reason, []);
    reasons.get(item.reason).push(item);
  }
  section.hidden = !reasons.size;
  host.replaceChildren(...[...reasons].map(([reason, items]) => {
    const links = items.slice(0, 12).map((item, index) => [index ? ", " : "",
      make("button", { type: "button", class: "link", onclick: () => selection.select({ entry: item.entry.index }) }, item.entry.name),
      ` on ${model.portList(members(item.ports), 4)}`]);
    const more = items.length > 12 ? ` and ${(items.length - 12).toLocaleString("en")} more entries` : "";
    return make("div", { class: "reason" }, make("p", {}, reason), make("p", {}, ...links.flat(), more));
  }));
}

function drawRefused(model, section, host) {
  const { refused } = model.state;
  section.hidden = !refused.length;
  host.replaceChildren(...refused.slice(0, 200).map(([name, code, message, text]) =>
    make("div", { class: "reason" }, make("p", {}, `${name}: ${message}`),
      make("p", {}, text ? `${code}. The rule: ${text}` : code))),
    ...(refused.length > 200 ? [make("p", {}, `and ${(refused.length - 200).toLocaleString("en")} more`)] : []));
}
