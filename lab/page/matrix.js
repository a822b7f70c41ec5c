// A large matrix on a canvas: only what is in view is drawn, so that ten thousand rows scroll smoothly.

// How a cell looks. Each has a shape of its own, so that nothing hangs on colour alone.
const cellShapes = {
  full(context, x, y, w, h) { context.fillRect(x + 0.5, y + 0.5, w - 1, h - 1); },
  missing(context, x, y, w, h) { // asked for, not matched: a box with a cross
    context.lineWidth = Math.max(1, Math.min(w, h) / 7);
    context.strokeRect(x + 1.5, y + 1.5, w - 3, h - 3);
    context.beginPath();
    context.moveTo(x + 2, y + 2); context.lineTo(x + w - 2, y + h - 2);
    context.moveTo(x + w - 2, y + 2); context.lineTo(x + 2, y + h - 2);
    context.stroke();
  },
  none() {}, // only the mark of a change
  extra(context, x, y, w, h) { // matched, not asked for: a triangle
    context.beginPath();
    context.moveTo(x + w / 2, y + 1.5); context.lineTo(x + w - 1, y + h - 1.5); context.lineTo(x + 1, y + h - 1.5);
    context.closePath();
    context.fill();
  },
};

class Matrix {
  // source: { label, rows, columns, rowHeader, columnHeader, rowName(i), columnName(j), cell(i, j), describe(i, j),
  //   select(i, j), rowOn(i), columnOn(j), any() }. cell gives { shape, colour, changed } or null. Row or column -1
  //   in describe and select is the header.
  constructor(host, source) {
    this.cursor = { row: 0, column: 0 };
    this.canvas = make("canvas", { "aria-hidden": "true" });
    this.extent = make("div", { class: "extent" });
    this.said = make("p", { class: "skip", "aria-live": "polite" });
    this.box = make("div", { class: "matrix", tabindex: 0, role: "application", "aria-roledescription": "matrix" }, this.extent, this.canvas);
    this.note = make("p", { class: "note" });
    host.replaceChildren(this.box, this.said, this.note);
    this.box.addEventListener("scroll", () => this.schedule());
    this.box.addEventListener("mousemove", (event) => this.hover(event));
    this.box.addEventListener("mouseleave", () => { tip.hide(); this.hovered = null; this.schedule(); });
    this.box.addEventListener("click", (event) => this.click(event));
    this.box.addEventListener("keydown", (event) => this.key(event));
    this.box.addEventListener("focus", () => this.schedule());
    this.box.addEventListener("blur", () => this.schedule());
    this.show(source);
    new ResizeObserver(() => this.layout()).observe(host);
  }

  show(source) {
    this.source = source;
    this.cursor = { row: 0, column: 0 };
    this.box.setAttribute("aria-label", source.label);
    this.box.hidden = !source.rows || !source.columns;
    this.layout();
  }

  layout() {
    const { rows, columns, rowHeader, columnHeader } = this.source;
    const room = this.box.parentElement.clientWidth - 2;
    this.head = { width: Math.min(rowHeader, room / 2), height: columnHeader };
    this.cellWidth = Math.max(7, Math.min(18, Math.floor((room - this.head.width - 16) / Math.max(1, columns))));
    this.cellHeight = 18;
    const size = { width: this.head.width + columns * this.cellWidth, height: this.head.height + rows * this.cellHeight };
    this.size = size;
    const limit = Math.max(220, innerHeight * 0.6);
    const scrollbar = size.width > room ? 16 : 0;
    this.box.style.width = `${Math.min(room, size.width + 1 + (size.height > limit ? 16 : 0)) + 2}px`;
    this.box.style.height = `${Math.min(limit, size.height + scrollbar + 2)}px`;
    Object.assign(this.extent.style, { width: `${size.width}px`, height: `${size.height}px` });
    this.draw();
  }

  schedule() {
    if (this.pending) return;
    this.pending = requestAnimationFrame(() => { this.pending = 0; this.draw(); });
  }

  // `whole`: for paper, where nothing scrolls; only so many rows.
  draw(whole = false) {
    const { rows } = this.source;
    const paperRows = 300;
    const width = whole ? this.size.width : this.box.clientWidth;
    const height = whole ? this.head.height + Math.min(rows, paperRows) * this.cellHeight : this.box.clientHeight;
    const scale = whole ? Math.min(2, 12000 / Math.max(width, height)) : devicePixelRatio || 1;
    this.canvas.width = width * scale;
    this.canvas.height = height * scale;
    Object.assign(this.canvas.style, { width: `${width}px`, height: `${height}px` });
    this.note.textContent = this.box.hidden ? "Nothing to show." :
      whole && rows > paperRows ? `The first ${paperRows} of ${rows.toLocaleString("en")} rows.` : "";
    const context = this.canvas.getContext("2d");
    context.scale(scale, scale);
    const style = getComputedStyle(document.documentElement);
    this.colour = (name) => style.getPropertyValue(name).trim();
    context.fillStyle = this.colour("--ground");
    context.fillRect(0, 0, width, height);
    const view = { left: whole ? 0 : this.box.scrollLeft, top: whole ? 0 : this.box.scrollTop, width, height };
    this.drawCells(context, view);
    this.drawRowNames(context, view);
    this.drawColumnNames(context, view);
    context.fillStyle = this.colour("--ground");
    // Hides labels that were scrolled away; the first label of a narrow column reaches over a little.
    context.fillRect(0, 0, this.head.width - 4, this.head.height);
  }

  // Indexes of the cells in view.
  range(view) {
    const firstRow = Math.max(0, Math.floor(view.top / this.cellHeight));
    const firstColumn = Math.max(0, Math.floor(view.left / this.cellWidth));
    return { firstRow, firstColumn,
      endRow: Math.min(this.source.rows, firstRow + Math.ceil((view.height - this.head.height) / this.cellHeight) + 1),
      endColumn: Math.min(this.source.columns, firstColumn + Math.ceil((view.width - this.head.width) / this.cellWidth) + 1) };
  }
  x(column, view) { return this.head.width + column * this.cellWidth - view.left; }
  y(row, view) { return this.head.height + row * this.cellHeight - view.top; }

  drawCells(context, view) {
    const { source, cellWidth: w, cellHeight: h } = this;
    const { firstRow, endRow, firstColumn, endColumn } = this.range(view);
    const any = source.any();
    const right = Math.min(view.width, this.x(source.columns, view));
    const bottom = Math.min(view.height, this.y(source.rows, view));
    context.fillStyle = this.colour("--band");
    for (let row = firstRow; row < endRow; ++row) if (any && source.rowOn(row)) context.fillRect(this.head.width, this.y(row, view), right - this.head.width, h);
    for (let column = firstColumn; column < endColumn; ++column) if (any && source.columnOn(column)) context.fillRect(this.x(column, view), this.head.height, w, bottom - this.head.height);
    context.strokeStyle = this.colour("--faint");
    context.lineWidth = 1;
    context.beginPath();
    for (let row = firstRow; row <= endRow; ++row) { const y = Math.round(this.y(row, view)) - 0.5; context.moveTo(this.head.width, y); context.lineTo(right, y); }
    for (let column = firstColumn; column <= endColumn; ++column) { const x = Math.round(this.x(column, view)) - 0.5; context.moveTo(x, this.head.height); context.lineTo(x, bottom); }
    context.stroke();
    for (let row = firstRow; row < endRow; ++row) {
      const rowOn = any && source.rowOn(row);
      for (let column = firstColumn; column < endColumn; ++column) {
        const cell = source.cell(row, column);
        if (!cell) continue;
        context.globalAlpha = !any || (rowOn && source.columnOn(column)) ? 1 : 0.3;
        context.fillStyle = context.strokeStyle = this.colour(cell.colour);
        cellShapes[cell.shape](context, this.x(column, view), this.y(row, view), w - 1, h - 1);
        if (cell.changed) this.drawChanged(context, this.x(column, view), this.y(row, view));
      }
    }
    context.globalAlpha = 1;
    const spot = this.hovered ?? (document.activeElement === this.box ? this.cursor : null);
    if (spot && spot.row >= 0 && spot.column >= 0) {
      context.strokeStyle = this.colour("--text");
      context.lineWidth = 2;
      context.strokeRect(this.x(spot.column, view) - 0.5, this.y(spot.row, view) - 0.5, w, h);
    }
  }

  drawChanged(context, x, y) {
    context.fillStyle = this.colour("--text");
    context.beginPath();
    context.moveTo(x + this.cellWidth - 6, y); context.lineTo(x + this.cellWidth - 1, y); context.lineTo(x + this.cellWidth - 1, y + 5);
    context.fill();
  }

  fitted(context, text, width) {
    if (context.measureText(text).width <= width) return text;
    let end = text.length;
    while (end > 1 && context.measureText(text.slice(0, end) + "…").width > width) --end;
    return text.slice(0, end) + "…";
  }

  drawRowNames(context, view) {
    const { firstRow, endRow } = this.range(view);
    context.fillStyle = this.colour("--ground");
    context.fillRect(0, 0, this.head.width, view.height);
    context.font = "12px system-ui, -apple-system, 'Segoe UI', 'Noto Sans', 'DejaVu Sans', sans-serif";
    context.textBaseline = "middle";
    for (let row = firstRow; row < endRow; ++row) {
      const on = this.source.any() && this.source.rowOn(row);
      const y = this.y(row, view);
      if (on) { context.fillStyle = this.colour("--band"); context.fillRect(0, y, this.head.width, this.cellHeight); }
      context.fillStyle = this.colour(this.source.any() && !on ? "--muted" : "--text");
      context.fillText(this.fitted(context, this.source.rowName(row), this.head.width - 18), 10, y + this.cellHeight / 2);
    }
  }

  drawColumnNames(context, view) {
    const { firstColumn, endColumn } = this.range(view);
    context.fillStyle = this.colour("--ground");
    context.fillRect(this.head.width, 0, view.width, this.head.height);
    const last = { on: -Infinity, other: -Infinity }; // where the last label stands
    const apart = 12;
    const ofSelection = (column) => this.source.any() && this.source.columnOn(column);
    const near = (column) => Array.from({ length: Math.ceil(apart / this.cellWidth) }, (_, n) => column + n).some((next) => next < endColumn && ofSelection(next));
    for (let column = firstColumn; column < endColumn; ++column) {
      const on = ofSelection(column);
      const x = this.x(column, view);
      const strip = this.source.columnColour?.(column);
      if (strip) { context.fillStyle = this.colour(strip); context.fillRect(x, this.head.height - 5, this.cellWidth - 1, 3); }
      if (x < Math.max(last.on, last.other) + apart || (!on && near(column))) continue;
      last[on ? "on" : "other"] = x;
      context.save();
      context.translate(x + this.cellWidth / 2, this.head.height - 9);
      context.rotate(-Math.PI / 2);
      context.fillStyle = this.colour(this.source.any() && !on ? "--muted" : "--text");
      context.fillText(this.fitted(context, this.source.columnName(column), this.head.height - 16), 0, 0);
      context.restore();
    }
  }

  spotAt(event) {
    const box = this.canvas.getBoundingClientRect();
    const x = event.clientX - box.left;
    const y = event.clientY - box.top;
    const column = x < this.head.width ? -1 : Math.floor((x - this.head.width + this.box.scrollLeft) / this.cellWidth);
    const row = y < this.head.height ? -1 : Math.floor((y - this.head.height + this.box.scrollTop) / this.cellHeight);
    return row < this.source.rows && column < this.source.columns && (row >= 0 || column >= 0) ? { row, column } : null;
  }

  hover(event) {
    this.hovered = this.spotAt(event);
    if (this.hovered) tip.show(this.source.describe(this.hovered.row, this.hovered.column), event.clientX, event.clientY);
    else tip.hide();
    this.schedule();
  }

  click(event) {
    const spot = this.spotAt(event);
    if (!spot) return;
    if (spot.row >= 0 && spot.column >= 0) this.cursor = spot;
    this.source.select(spot.row, spot.column);
  }

  key(event) {
    const page = Math.floor(this.box.clientHeight / this.cellHeight) - 3;
    const steps = { ArrowDown: [1, 0], ArrowUp: [-1, 0], ArrowRight: [0, 1], ArrowLeft: [0, -1], PageDown: [page, 0],
      PageUp: [-page, 0], Home: [0, -this.source.columns], End: [0, this.source.columns] };
    if (event.key === "Enter" || event.key === " ") this.source.select(this.cursor.row, this.cursor.column);
    else if (event.key === "Escape") this.source.clear();
    else if (!(event.key in steps)) return;
    event.preventDefault();
    const [down, right] = steps[event.key] ?? [0, 0];
    const within = (value, size) => Math.max(0, Math.min(size - 1, value));
    this.cursor = { row: within(this.cursor.row + down, this.source.rows), column: within(this.cursor.column + right, this.source.columns) };
    this.reveal(this.cursor.row, this.cursor.column);
    this.said.textContent = this.source.describe(this.cursor.row, this.cursor.column);
    this.schedule();
  }

  reveal(row, column) {
    const top = row * this.cellHeight;
    const left = column * this.cellWidth;
    const { box, head } = this;
    if (top < box.scrollTop) box.scrollTop = top;
    if (top + this.cellHeight > box.scrollTop + box.clientHeight - head.height) box.scrollTop = top + this.cellHeight - box.clientHeight + head.height;
    if (left < box.scrollLeft) box.scrollLeft = left;
    if (left + this.cellWidth > box.scrollLeft + box.clientWidth - head.width) box.scrollLeft = left + this.cellWidth - box.clientWidth + head.width;
    this.schedule();
  }

  // Brings the first row and column of the selection into view, unless one is in view already.
  revealSelection() {
    const view = { left: this.box.scrollLeft, top: this.box.scrollTop, width: this.box.clientWidth, height: this.box.clientHeight };
    const { firstRow, endRow, firstColumn, endColumn } = this.range(view);
    const first = (size, on) => { for (let i = 0; i < size; ++i) if (on(i)) return i; return -1; };
    const among = (from, end, on) => { for (let i = from; i < end - 2; ++i) if (on(i)) return true; return false; };
    const row = first(this.source.rows, this.source.rowOn);
    const column = first(this.source.columns, this.source.columnOn);
    if (row >= 0 && !among(firstRow, endRow, this.source.rowOn)) this.box.scrollTop = Math.max(0, (row - 3) * this.cellHeight);
    if (column >= 0 && !among(firstColumn, endColumn, this.source.columnOn)) this.box.scrollLeft = Math.max(0, (column - 3) * this.cellWidth);
    this.schedule();
  }
}
