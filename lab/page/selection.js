// What is selected, and what belongs to it. Everything that shows something asks here whether it stands out.

class Selection {
  constructor(model) {
    this.model = model;
    this.listeners = [];
    this.only = false; // show nothing but what belongs to the selection
    this.clear();
  }

  onChange(listener) { this.listeners.push(listener); }

  // `chosen` is one of: { port }, { space, bit }, { classId }, { entry }, { table }, { group }.
  select(chosen) {
    this.chosen = chosen;
    this.relate();
    this.listeners.forEach((listener) => listener());
  }
  clear() { this.select(null); }

  relate() {
    const state = this.model.state;
    this.ports = new Set();
    this.bits = new Set(); // "space:bit"
    this.classIds = new Set();
    this.entries = new Set();
    const chosen = this.chosen;
    if (!chosen) return;
    const addClassId = (id, withPorts = true) => {
      this.classIds.add(id);
      id.entries.forEach((entry) => this.entries.add(entry.index));
      id.bits.forEach((bit) => this.bits.add(`${id.pool.space}:${bit}`));
      if (withPorts) members(id.ports).forEach((port) => this.ports.add(port));
    };
    if ("port" in chosen) {
      this.ports.add(chosen.port);
      state.entries.forEach((entry) => {
        if (entry.matched[chosen.port] || entry.asked[chosen.port]) this.entries.add(entry.index);
        if (entry.matched[chosen.port]) this.classIds.add(entry.classId);
      });
      state.carried.forEach((values, space) => members(values[chosen.port]).forEach((bit) => this.bits.add(`${space}:${bit}`)));
    } else if ("bit" in chosen) {
      state.holdersOf(chosen.space, chosen.bit).forEach((id) => addClassId(id));
      state.carriers(chosen.space, chosen.bit).forEach((port) => this.ports.add(port));
      this.bits = new Set([`${chosen.space}:${chosen.bit}`]);
    } else if ("classId" in chosen) {
      addClassId(state.classIds[chosen.classId]);
    } else if ("entry" in chosen) {
      const entry = state.entries[chosen.entry];
      addClassId(entry.classId);
      this.entries = new Set([entry.index]);
      members(entry.asked).forEach((port) => this.ports.add(port));
    } else if ("table" in chosen) {
      state.entries.filter((entry) => entry.table === chosen.table).forEach((entry) => {
        const before = new Set(this.entries);
        addClassId(entry.classId);
        this.entries = before.add(entry.index);
      });
    } else {
      state.classIds.filter((id) => id.pool.group === chosen.group).forEach((id) => addClassId(id));
      state.pools.filter((pool) => pool.group === chosen.group).forEach((pool) => {
        for (let bit = pool.offset; bit < pool.offset + pool.width; ++bit) this.bits.add(`${pool.space}:${bit}`);
      });
    }
  }

  get any() { return this.chosen !== null; }
  hasBit(space, bit) { return this.bits.has(`${space}:${bit}`); }
}
