"use strict";
// What the page shows, read once from the document that is embedded in it.

// Ports as "0-3,7": indexes into the list of ports. One byte a port.
function readSet(text, size) {
  const set = new Uint8Array(size);
  for (const run of text ? text.split(",") : []) {
    const [first, last] = run.split("-").map(Number);
    set.fill(1, first, (last ?? first) + 1);
  }
  return set;
}

class SwitchState {
  constructor(raw, ports) {
    Object.assign(this, { name: raw.name, spaces: raw.spaces, refused: raw.refused, checked: raw.checked });
    this.ports = ports;
    const sets = raw.sets.map((text) => readSet(text, ports.length));
    this.pools = raw.pools.map(([group, space, id, offset, width]) => ({ group, space, id, offset, width }));
    this.classIds = raw.classIds.map(([pool, value, reserved, set], index) => ({
      index, pool: this.pools[pool], value, reserved, ports: sets[set], entries: [],
      bits: bitsOf(value, this.pools[pool]),
    }));
    this.entries = raw.entries.map(([id, rule, classId, asked, matched, text], index) => {
      const entry = { index, id, rule, text, classId: this.classIds[classId], asked: sets[asked], matched: sets[matched] };
      entry.table = rule.includes("|") ? rule.slice(0, rule.indexOf("|")) : "";
      entry.name = rule || `entry ${id}`;
      entry.classId.entries.push(entry);
      return entry;
    });
    this.mismatches = raw.mismatches.map(([entry, reason, set]) => ({
      entry: this.entries[entry], reason: raw.reasons[reason], ports: sets[set],
    }));
    // By space: for each port its value, and for each bit what lies over it.
    this.carried = this.spaces.map((space) => space.values.map((text) => readSet(text, space.size)));
    this.owners = this.spaces.map((space) => Array.from({ length: space.size }, () => []));
    for (const pool of this.pools) {
      for (let bit = pool.offset; bit < pool.offset + pool.width; ++bit) this.owners[pool.space][bit]?.push(pool);
    }
    this.groups = [...new Set(this.pools.map((pool) => pool.group))].sort((a, b) => a - b);
  }

  // The bits that the matrix of ports shows, left to right.
  usedBits() {
    const used = [];
    this.spaces.forEach((space, s) => {
      for (let bit = 0; bit < space.size; ++bit) {
        if (this.owners[s][bit].length || this.carried[s].some((value) => value[bit])) used.push({ space: s, bit });
      }
    });
    return used;
  }

  carriers(space, bit) { return this.ports.map((_, port) => port).filter((port) => this.carried[space][port][bit]); }
  holdersOf(space, bit) { return this.classIds.filter((id) => id.pool.space === space && id.bits.includes(bit)); }

  // What a port's value says in a pool, and whose class ID that is.
  reading(port, pool) {
    let value = 0;
    for (let bit = 0; bit < pool.width; ++bit) value += this.carried[pool.space][port][pool.offset + bit] * 2 ** bit;
    return { pool, value, classId: this.classIds.find((id) => id.pool === pool && id.value === value) };
  }
}

function bitsOf(value, pool) {
  const bits = [];
  for (let bit = 0; bit < pool.width; ++bit) if (Math.floor(value / 2 ** bit) % 2) bits.push(pool.offset + bit);
  return bits;
}

class Model {
  constructor(raw) {
    this.title = raw.title;
    this.subtitle = raw.subtitle;
    this.ports = raw.ports.map(([name, number]) => ({ name, number }));
    this.states = raw.states.map((state) => new SwitchState(state, this.ports));
    this.current = this.states.length - 1;
    const groups = [...new Set(this.states.flatMap((state) => state.groups))].sort((a, b) => a - b);
    this.hues = new Map(groups.map((group, index) => [group, index % 10]));
  }

  get state() { return this.states[this.current]; }
  get other() { return this.states.length > 1 ? this.states[1 - this.current] : null; }
  colour(group) { return `var(--g${this.hues.get(group) ?? 0})`; }

  portName(port) {
    const { name, number } = this.ports[port];
    return name === `Port${number}` ? name : `${name} (port ${number})`;
  }

  // Rising indexes, runs of neighbours folded.
  portList(indexes, most = 12) {
    const runs = [];
    for (const index of indexes) {
      const last = runs.at(-1);
      if (last && last[1] === index - 1) last[1] = index;
      else runs.push([index, index]);
    }
    const texts = runs.slice(0, most).map(([first, last]) =>
      first === last ? this.ports[first].name : `${this.ports[first].name} to ${this.ports[last].name}`);
    return texts.length ? texts.join(", ") + (runs.length > most ? ` and ${runs.length - most} more` : "") : "none";
  }

  // Which rules use a class ID: "3 of OFFICE, entry 7".
  users(classId) {
    const tables = new Map();
    const single = [];
    for (const entry of classId.entries) {
      if (entry.table) tables.set(entry.table, (tables.get(entry.table) ?? 0) + 1);
      else single.push(entry.id);
    }
    const texts = [...tables].map(([table, number]) => `${number} of ${table}`);
    if (single.length) texts.push(`${single.length > 1 ? "entries" : "entry"} ${single.slice(0, 8).join(", ")}${single.length > 8 ? ` and ${single.length - 8} more` : ""}`);
    if (classId.reserved) texts.push(`${classId.reserved}, reserved at start-up`);
    return texts.join(", ");
  }
}

const members = (set) => Array.from(set.keys()).filter((index) => set[index]);
const counted = (number, one, many) => `${number.toLocaleString("en")} ${number === 1 ? one : many}`;
