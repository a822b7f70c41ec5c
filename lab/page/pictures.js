// The two matrices: ports by bits, entries by ports.

// The numbers from 0, or only those that belong to the selection.
function shown(size, selection, belongs) {
  const all = Array.from({ length: size }, (_, index) => index);
  return selection.any && selection.only ? all.filter(belongs) : all;
}

function portBitsSource(model, selection) {
  const state = model.state;
  const ports = shown(model.ports.length, selection, (port) => selection.ports.has(port));
  const bits = state.usedBits().filter(({ space, bit }) => !(selection.any && selection.only) || selection.hasBit(space, bit));
  const groupOf = ({ space, bit }) => state.owners[space][bit][0]?.group;
  const describe = (row, column) => {
    const port = ports[row];
    if (column < 0) return model.portName(port);
    const { space, bit } = bits[column];
    const pool = state.owners[space][bit][0];
    const place = `bit ${bit} of ${state.spaces[space].name}${pool ? `, group ${pool.group}` : ""}`;
    if (row < 0) return place;
    if (!state.carried[space][port][bit]) return `${model.portName(port)} does not carry ${place}`;
    const reading = pool && state.reading(port, pool);
    return `${model.portName(port)} carries ${place}` +
      (reading ? `: class ID ${reading.value}, ${reading.classId ? model.users(reading.classId) : "which is not lent"}` : "");
  };
  return {
    label: `Ports by bits, ${counted(ports.length, "port", "ports")} and ${counted(bits.length, "bit", "bits")}: the arrow keys move, Enter selects`,
    rows: ports.length, columns: bits.length, rowHeader: 150, columnHeader: 62,
    rowName: (row) => model.ports[ports[row]].name,
    columnName: (column) => `${groupOf(bits[column]) ?? "–"} · ${bits[column].bit}`,
    columnColour: (column) => groupOf(bits[column]) === undefined ? null : `--g${model.hues.get(groupOf(bits[column]))}`,
    cell(row, column) {
      const { space, bit } = bits[column];
      const now = state.carried[space][ports[row]][bit];
      const changed = model.other ? (model.other.carried[space]?.[ports[row]]?.[bit] ?? 0) !== now : false;
      if (!now && !changed) return null;
      const group = groupOf(bits[column]);
      return { shape: now ? "full" : "none", colour: group === undefined ? "--muted" : `--g${model.hues.get(group)}`, changed };
    },
    describe,
    select(row, column) { selection.select(row < 0 ? bits[column] : { port: ports[row] }); },
    clear: () => selection.clear(),
    any: () => selection.any,
    rowOn: (row) => selection.ports.has(ports[row]),
    columnOn: (column) => selection.hasBit(bits[column].space, bits[column].bit),
  };
}

function entryPortsSource(model, selection) {
  const all = model.state.entries;
  const entries = shown(all.length, selection, (entry) => selection.entries.has(entry)).map((entry) => all[entry]);
  const ports = shown(model.ports.length, selection, (port) => selection.ports.has(port));
  const outcome = (entry, port) => (entry.asked[port] ? (entry.matched[port] ? "full" : "missing") : entry.matched[port] ? "extra" : null);
  const words = { full: "matches, as asked,", missing: "does not match, though asked to,", extra: "matches, though not asked to," };
  const before = new Map((model.other?.entries ?? []).map((entry) => [entry.name, entry]));
  return {
    label: `Entries by ports, ${counted(entries.length, "entry", "entries")} and ${counted(ports.length, "port", "ports")}: the arrow keys move, Enter selects`,
    rows: entries.length, columns: ports.length, rowHeader: 230, columnHeader: 96,
    rowName: (row) => entries[row].name,
    columnName: (column) => model.ports[ports[column]].name,
    cell(row, column) {
      const port = ports[column];
      const shape = outcome(entries[row], port);
      const changed = model.other ? (before.get(entries[row].name)?.matched[port] ?? 0) !== entries[row].matched[port] : false;
      if (!shape && !changed) return null;
      return { shape: shape ?? "none", colour: !shape || shape === "full" ? `--g${model.hues.get(entries[row].classId.pool.group)}` : "--bad", changed };
    },
    describe(row, column) {
      if (row < 0) return model.portName(ports[column]);
      const entry = entries[row];
      const name = `${entry.name} (entry ${entry.id}, group ${entry.classId.pool.group})`;
      return column < 0 ? name : `${name} ${words[outcome(entry, ports[column])] ?? "does not match"} ${model.portName(ports[column])}`;
    },
    select(row, column) { selection.select(row < 0 ? { port: ports[column] } : { entry: entries[row].index }); },
    clear: () => selection.clear(),
    any: () => selection.any,
    rowOn: (row) => selection.entries.has(entries[row].index),
    columnOn: (column) => selection.ports.has(ports[column]),
  };
}

function drawLegend(host) {
  const style = getComputedStyle(document.documentElement);
  const sample = (shape, colour) => {
    const canvas = make("canvas", { width: 32, height: 32, style: { width: "16px", height: "16px" }, "aria-hidden": "true" });
    const context = canvas.getContext("2d");
    context.scale(2, 2);
    context.fillStyle = context.strokeStyle = style.getPropertyValue(colour).trim();
    cellShapes[shape](context, 0, 0, 15, 15);
    return canvas;
  };
  host.replaceChildren(
    "Entries by ports. ",
    make("span", {}, sample("full", "--g0"), "matches, as asked"),
    make("span", {}, sample("missing", "--bad"), "asked for, does not match"),
    make("span", {}, sample("extra", "--bad"), "matches, not asked for"));
}
