// The class-ID spaces as bit maps.

class SpaceMaps {
  constructor(model, selection, host) {
    Object.assign(this, { model, selection, host });
    selection.onChange(() => this.highlight());
    this.draw();
  }

  draw() {
    this.host.replaceChildren(...this.model.state.spaces.map((space, index) => this.map(space, index)));
    this.highlight();
  }

  map(space, index) {
    const taken = space.taken.length;
    const cells = [];
    for (let bit = 0; bit < space.size; ++bit) {
      if (bit % 32 === 0) cells.push(make("span", { class: "offset", "aria-hidden": "true" }, String(bit)));
      cells.push(this.cell(space, index, bit));
    }
    const grid = make("div", { class: "bits", role: "group", "aria-label": `${space.name}: ${space.size} bits; the arrow keys move`, "data-space": index,
      onkeydown: (event) => this.move(event) }, cells);
    grid.querySelector(".bit").tabIndex = 0;
    return make("div", { class: "space" },
      make("div", { class: "space-head" }, make("h3", {}, space.name),
        make("span", {}, `${taken} of ${space.size} bits reserved, longest free run ${space.longestFree}` +
          (space.first ? ` · bits ${space.first} to ${space.first + space.size - 1} of the port's value` : ""))),
      grid);
  }

  cell(space, index, bit) {
    const pools = this.model.state.owners[index][bit];
    const pool = pools[0];
    const holders = this.model.state.holdersOf(index, bit);
    const classes = ["bit"];
    if (pool) {
      classes.push("taken");
      if (holders.some((id) => id.reserved)) classes.push("reserved");
      if (bit > pool.offset && bit % 32) classes.push("joins");
      if (bit < pool.offset + pool.width - 1 && bit % 32 !== 31) classes.push("joined");
    }
    if (this.isChanged(index, bit)) classes.push("changed");
    const label = this.label(space, bit, pools, holders);
    const here = (event) => tip.show(label, event.clientX, event.clientY);
    return make("button", { type: "button", class: classes.join(" "), tabindex: -1, "aria-label": label, "data-bit": bit,
      style: pool ? { "--c": this.model.colour(pool.group) } : {},
      onclick: () => this.selection.select({ space: index, bit }), onmousemove: here, onmouseleave: tip.hide },
      pool && bit === pool.offset ? String(pool.group) : "");
  }

  label(space, bit, pools, holders) {
    const place = `bit ${bit} of ${space.name}`;
    if (!pools.length) return `${place}: free`;
    const over = pools.map((pool) => `group ${pool.group}, pool ${pool.id}`).join("; ");
    const users = holders.map((id) => `class ID ${id.value}: ${this.model.users(id) || "no entry"}`);
    const shown = users.slice(0, 4).join("; ") + (users.length > 4 ? `; and ${users.length - 4} more` : "");
    return `${place}: ${over}; ${shown || "no class ID sets it now"}`;
  }

  isChanged(space, bit) {
    const other = this.model.other;
    const groups = (state) => (state.owners[space]?.[bit] ?? []).map((pool) => pool.group).join();
    return other ? groups(other) !== groups(this.model.state) : false;
  }

  move(event) {
    const steps = { ArrowRight: 1, ArrowLeft: -1, ArrowDown: 32, ArrowUp: -32, Home: -1000, End: 1000 };
    if (event.key === "Escape") this.selection.clear();
    if (!(event.key in steps)) return;
    event.preventDefault();
    const cells = [...event.currentTarget.querySelectorAll(".bit")];
    const from = cells.indexOf(document.activeElement);
    const to = cells[Math.max(0, Math.min(cells.length - 1, from + steps[event.key]))];
    cells.forEach((cell) => { cell.tabIndex = -1; });
    to.tabIndex = 0;
    to.focus();
  }

  highlight() {
    this.host.classList.toggle("selecting", this.selection.any);
    for (const grid of this.host.querySelectorAll(".bits")) {
      for (const cell of grid.querySelectorAll(".bit")) {
        const on = this.selection.hasBit(Number(grid.dataset.space), Number(cell.dataset.bit));
        cell.classList.toggle("on", on);
        cell.setAttribute("aria-pressed", String(on));
      }
    }
  }
}
