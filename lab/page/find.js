// The search: ports, tables, rules, groups and bits by any part of their names. A combobox with a list.

class Finder {
  constructor(model, selection) {
    Object.assign(this, { model, selection });
    this.input = byId("find");
    this.list = byId("found");
    this.input.addEventListener("input", () => this.search());
    this.input.addEventListener("keydown", (event) => this.key(event));
    this.input.addEventListener("blur", () => setTimeout(() => this.close(), 150));
    byId("find-form").addEventListener("submit", (event) => event.preventDefault());
  }

  *candidates() {
    const { state, ports } = this.model;
    for (let port = 0; port < ports.length; ++port) yield [ports[port].name, "port", { port }, ` ${ports[port].number}`];
    for (const table of new Set(state.entries.map((entry) => entry.table))) if (table) yield [table, "table", { table }, ""];
    for (const group of state.groups) yield [`group ${group}`, "group", { group }, ""];
    for (const entry of state.entries) yield [entry.name, `entry ${entry.id}`, { entry: entry.index }, ""];
    for (let space = 0; space < state.spaces.length; ++space) {
      for (let bit = 0; bit < state.spaces[space].size; ++bit) yield [`bit ${bit}`, state.spaces[space].name, { space, bit }, ""];
    }
  }

  search() {
    const words = this.input.value.trim().toLowerCase();
    this.found = [];
    if (words) {
      const exact = [];
      const begins = [];
      const contains = [];
      for (const item of this.candidates()) {
        const name = item[0].toLowerCase();
        const text = `${name} ${item[1].toLowerCase()}${item[3]}`;
        if (name === words || item[3] === ` ${words}` || item[1] === words) exact.push(item);
        else if (name.startsWith(words)) begins.push(item);
        else if (contains.length < 30 && text.includes(words)) contains.push(item);
      }
      this.found = [...exact, ...begins, ...contains].slice(0, 30);
    }
    this.active = this.found.length ? 0 : -1;
    this.list.replaceChildren(...this.found.map(([name, kind, chosen], index) => make("li", { role: "option", id: `found-${index}`,
      onmousedown: (event) => { event.preventDefault(); this.choose(index); } }, name, make("span", { class: "kind" }, kind))));
    if (words && !this.found.length) this.list.replaceChildren(make("li", { role: "option", "aria-disabled": "true" }, "Nothing of that name"));
    this.list.hidden = !words;
    this.input.setAttribute("aria-expanded", String(Boolean(words)));
    this.mark();
  }

  mark() {
    [...this.list.children].forEach((item, index) => item.setAttribute("aria-selected", String(index === this.active)));
    if (this.active >= 0) {
      this.input.setAttribute("aria-activedescendant", `found-${this.active}`);
      this.list.children[this.active].scrollIntoView({ block: "nearest" });
    } else this.input.removeAttribute("aria-activedescendant");
  }

  key(event) {
    if (event.key === "Escape") { this.input.value ? (this.input.value = "", this.close()) : this.selection.clear(); return; }
    if (!this.found?.length) return;
    if (event.key === "ArrowDown" || event.key === "ArrowUp") {
      this.active = (this.active + (event.key === "ArrowDown" ? 1 : -1) + this.found.length) % this.found.length;
      this.mark();
      event.preventDefault();
    } else if (event.key === "Enter") this.choose(this.active);
  }

  choose(index) {
    this.selection.select(this.found[index][2]);
    this.close();
  }

  close() {
    this.list.hidden = true;
    this.input.setAttribute("aria-expanded", "false");
    this.input.removeAttribute("aria-activedescendant");
  }
}
