// SPDX-License-Identifier: MIT
// Draws the graph of relations and handles moving, zooming, keys and pointer. The graph of all relations is expanded
// node by node and initially shows as much as is readable.

function drawEdge(edge) {
  const { from, to } = edge;
  const x = from.x + from.width,
    y = from.y + from.height / 2,
    u = to.x,
    v = to.y + to.height / 2;
  let d;
  if (from === to) {
    d = `M${x - 26},${from.y} C${x - 26},${from.y - 22} ${x + 24},${from.y - 16} ${x + 2},${y - 4}`;
  } else {
    const bend = (u - x) / 2,
      right = u + to.width,
      over = Math.max(x, right) + columnGap / 2;
    d =
      to.column > from.column
        ? `M${x},${y} C${x + bend},${y} ${u - bend},${v} ${u - 2},${v}`
        : `M${x},${y} C${over},${y} ${over},${v} ${right + 2},${v}`; // around the right sides
  }
  const isPpr = edge.list.some(relation => relation.isPpr);
  const path = s(
    "path",
    { d, class: `edge ${isPpr ? "ppr" : ""} ${edge.isInherited ? "inherited" : ""}`, "marker-end": "url(#arrow)" },
    s(
      "title",
      null,
      `${from.name} → ${to.name}: ${edge.list
        .map(relation => relation.list)
        .filter(Boolean)
        .join(", ")}`,
    ),
  );
  edge.path = path;
  return path;
}

function drawNode(node) {
  const type = types.get(node.name);
  const kind = !type ? "missing" : type.isUnlisted ? "unlisted" : "";
  const says = [node.name, node.sub, node.below > 0 && `${node.below} below`, !type && "no such type"]
    .filter(Boolean)
    .map(shown);
  const group = s(
    "g",
    {
      class: `node ${kind} ${node.isCenter ? "center" : ""}`,
      transform: `translate(${node.x},${node.y})`,
      role: "button",
      tabindex: -1,
      "aria-label": says.join(" "),
      "aria-expanded": node.below > 0 ? String(node.isOpen) : null,
      "aria-pressed": "false",
    },
    s("title", null, type?.label ? `${node.name}: ${type.label}` : node.name),
    s("rect", { width: node.width, height: node.height, rx: 6 }),
    s("text", { x: 10, y: node.sub ? 18 : node.height / 2 + 4.5 }, short(shown(node.name))),
    " ",
    node.sub ? s("text", { class: "sub", x: 10, y: 34 }, short(shown(node.sub))) : null,
    node.below > 0
      ? s(
          "g",
          { class: "more", transform: `translate(${node.width - 32},0)` },
          s("rect", { width: 32, height: node.height, rx: 6 }),
          s("text", { x: 16, y: node.height / 2 + 4.5, "text-anchor": "middle" }, node.isOpen ? "−" : `+${node.below}`),
        )
      : null,
  );
  group.node = node;
  node.group = group;
  return group;
}

const steps = { ArrowLeft: [60, 0], ArrowRight: [-60, 0], ArrowUp: [0, 60], ArrowDown: [0, -60] };
const mostTries = 40; // number of nodes that may be expanded initially

class GraphView {
  /** @param name  the type whose relations are shown; undefined: all relations */
  constructor(name) {
    this.name = name;
    this.open = new Set(); // the names of the expanded nodes
    this.at = { x: margin, y: margin, scale: 1 };
    this.view = s("g", { id: "view" });
    const arrow = { id: "arrow", viewBox: "0 0 8 8", refX: 7, refY: 4, markerWidth: 8, markerHeight: 8 };
    this.svg = s(
      "svg",
      { class: "graph", role: "group", "aria-label": name ? `Relations of ${shown(name)}` : "All relations" },
      s(
        "defs",
        null,
        s(
          "marker",
          { ...arrow, markerUnits: "userSpaceOnUse", orient: "auto" },
          s("path", { d: "M0,0.5 L8,4 L0,7.5 z", class: "arrow" }),
        ),
      ),
      this.view,
    );
    this.strip = h(
      "p",
      { class: "strip", role: "status" },
      name ? "Choose a type to go on from it." : "Choose a type to see its relations.",
    );
    this.figure = h(
      "div",
      { class: "figure" },
      this.svg,
      h("div", { class: "under" }, this.strip, legend(Boolean(name))),
    );
    this.tools = this.makeTools();
    this.svg.addEventListener("keydown", event => {
      if (this.press(event)) event.preventDefault();
    });
    moveWithPointer(this);
  }

  makeTools() {
    const button = (text, label, onclick) =>
      h("button", { type: "button", class: "quiet", "aria-label": label, onclick }, text);
    const openAll = () => {
      for (const name of relationGraph().keys()) this.open.add(name);
      this.again();
    };
    const closeAll = () => {
      this.open.clear();
      this.again();
      this.center(1);
    };
    return h(
      "div",
      { class: "tools", role: "group", "aria-label": "Graph" },
      button("−", "Zoom out", () => this.zoom(0.8)),
      button("+", "Zoom in", () => this.zoom(1.25)),
      button("Fit", null, () => this.fit()),
      this.name ? null : [button("Open all", null, openAll), button("Close all", null, closeAll)],
    );
  }

  /** Draws the graph for the first time, once it has a size. */
  start() {
    this.layout = this.name ? layoutAround(this.name) : layoutAll(this.open);
    if (!this.name) this.openWhatFits();
    this.draw();
    this.center(1);
  }

  openWhatFits() {
    const fits = () =>
      this.layout.width <= this.svg.clientWidth - 2 * margin &&
      this.layout.height <= this.svg.clientHeight - 2 * margin;
    const tried = new Set();
    while (fits() && tried.size < mostTries) {
      const next = this.layout.nodes
        .filter(node => node.below > 0 && !node.isOpen && !tried.has(node.name))
        .sort((a, b) => a.column - b.column || a.y - b.y)[0];
      if (!next) return;
      tried.add(next.name);
      this.open.add(next.name);
      this.layout = layoutAll(this.open);
      if (fits()) continue;
      this.open.delete(next.name);
      this.layout = layoutAll(this.open);
    }
  }

  draw() {
    this.view.replaceChildren(...this.layout.edges.map(drawEdge), ...this.layout.nodes.map(drawNode));
    const first = this.layout.nodes.find(node => node.isCenter) ?? this.layout.nodes[0];
    if (first) first.group.setAttribute("tabindex", 0);
  }
  /** Draws the graph in its present state. */
  again() {
    this.layout = layoutAll(this.open);
    this.draw();
    const chosen = this.layout.nodes.find(node => node.name === this.chosen?.name);
    if (chosen) this.choose(chosen);
  }

  // ---- position and zoom
  show() {
    this.view.setAttribute("transform", `translate(${this.at.x},${this.at.y}) scale(${this.at.scale})`);
  }
  pan(x, y) {
    this.at.x += x;
    this.at.y += y;
    this.show();
  }
  fitting() {
    const { svg, layout } = this;
    return Math.min(1, (svg.clientWidth - 2 * margin) / layout.width, (svg.clientHeight - 2 * margin) / layout.height);
  }
  fit() {
    this.center(this.fitting());
  }
  zoom(factor, x = this.svg.clientWidth / 2, y = this.svg.clientHeight / 2) {
    const { at } = this;
    const scale = Math.min(4, Math.max(Math.min(0.05, this.fitting()), at.scale * factor));
    at.x = x - ((x - at.x) * scale) / at.scale;
    at.y = y - ((y - at.y) * scale) / at.scale;
    at.scale = scale;
    this.show();
  }
  /** Centres the graph if all of it fits, otherwise shows its beginning, or the type whose relations it shows. */
  center(scale) {
    const { svg, layout, at } = this;
    const beside = svg.clientWidth - layout.width * scale,
      over = svg.clientHeight - layout.height * scale;
    const middle = layout.nodes.find(node => node.isCenter);
    const isHigh = over < 2 * margin - 1,
      isWide = beside < 2 * margin - 1;
    at.scale = scale;
    if (middle)
      at.x = isWide ? Math.min(margin, svg.clientWidth / 2 - (middle.x + middle.width / 2) * scale) : beside / 2;
    else at.x = isHigh || isWide ? margin : beside / 2;
    at.y = isHigh && !middle ? margin : over / 2;
    this.show();
  }
  /** Moves the graph as little as possible to make a node visible. */
  reveal(node) {
    const { svg, at } = this;
    const left = at.x + node.x * at.scale,
      top = at.y + node.y * at.scale;
    const right = left + node.width * at.scale,
      bottom = top + node.height * at.scale;
    const beyond = right - svg.clientWidth + margin,
      under = bottom - svg.clientHeight + margin;
    this.pan(
      left < margin ? margin - left : beyond > 0 ? -Math.min(beyond, left - margin) : 0,
      top < margin ? margin - top : under > 0 ? -under : 0,
    );
  }

  // ---- nodes
  focus(node) {
    for (const other of this.view.querySelectorAll('[tabindex="0"]')) other.setAttribute("tabindex", -1);
    node.group.setAttribute("tabindex", 0);
    node.group.focus({ preventScroll: true });
    this.reveal(node);
  }
  choose(node) {
    const near = new Set([node]);
    for (const edge of this.layout.edges) {
      const isNear = edge.from === node || edge.to === node;
      edge.path.classList.toggle("chosen", isNear);
      if (isNear) near.add(edge.from).add(edge.to);
    }
    for (const other of this.layout.nodes) {
      other.group.classList.toggle("near", near.has(other));
      other.group.setAttribute("aria-pressed", String(other === node));
    }
    this.chosen = node;
    this.svg.classList.add("has-chosen");
    this.describe(node);
    this.focus(node);
  }
  describe(node) {
    const type = types.get(node.name);
    this.strip.replaceChildren();
    fill(this.strip, null, [
      h("strong", null, node.name),
      type?.says ? ` ${type.says}` : "",
      type ? h("a", { href: linkTo("type", node.name) }, "Open the type") : "",
      node.isCenter ? "" : h("a", { href: linkTo("graph", node.name) }, "Only its relations"),
      node.below > 0
        ? h(
            "button",
            { type: "button", class: "quiet", onclick: () => this.toggle(node) },
            node.isOpen ? "Close" : `Open ${node.below} below`,
          )
        : "",
    ]);
  }
  /** Expands or collapses a node, which keeps its position on the screen. */
  toggle(node) {
    if (node.below === 0) return;
    const { at } = this;
    const top = at.y + node.y * at.scale;
    this.open.has(node.name) ? this.open.delete(node.name) : this.open.add(node.name);
    this.chosen = node;
    this.again();
    this.pan(0, top - (at.y + this.chosen.y * at.scale));
  }

  // ---- keys
  neighbour(node, key) {
    const sideways = { ArrowRight: ["from", "to"], ArrowLeft: ["to", "from"] }[key];
    if (sideways) {
      const [here, there] = sideways;
      return this.layout.edges
        .filter(edge => edge[here] === node && edge[there] !== node)
        .map(edge => edge[there])
        .sort((a, b) => Math.abs(a.y - node.y) - Math.abs(b.y - node.y))[0];
    }
    const by = key === "ArrowDown" ? 1 : -1;
    return this.layout.nodes
      .filter(other => other.column === node.column && (other.y - node.y) * by > 0)
      .sort((a, b) => (a.y - b.y) * by)[0];
  }
  /** Handles a key; returns whether it has a meaning here. */
  press(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return false;
    const node = event.target.closest(".node")?.node,
      step = steps[event.key];
    const keys = {
      "+": () => this.zoom(1.25),
      "=": () => this.zoom(1.25),
      "-": () => this.zoom(0.8),
      0: () => this.fit(),
    };
    if (keys[event.key]) keys[event.key]();
    else if (step && event.shiftKey) this.pan(...step);
    else if (!node) return false;
    else if (event.key === "ArrowRight" && node.below > 0 && !node.isOpen) this.toggle(node);
    else if (step) {
      const next = this.neighbour(node, event.key);
      if (next) this.focus(next);
    } else if (event.key === "Enter") this.choose(node);
    else if (event.key === " ") this.toggle(node);
    else return false;
    return true;
  }
  /** Handles a click in the graph. */
  click(target) {
    const node = target.closest(".node")?.node;
    if (!node) return;
    if (target.closest(".more")) this.toggle(node);
    else this.choose(node);
  }

  /** Shows the whole graph while the page is printed. */
  print(isPrinted) {
    const { layout, svg } = this;
    if (isPrinted) {
      svg.setAttribute("viewBox", `${-margin} ${-margin} ${layout.width + 2 * margin} ${layout.height + 2 * margin}`);
      this.view.removeAttribute("transform");
    } else {
      svg.removeAttribute("viewBox");
      this.show();
    }
  }
}

/** Moves by dragging, zooms by wheel or two fingers; a press without movement selects. */
function moveWithPointer(graph) {
  const { svg } = graph;
  const pointers = new Map();
  let moved = false;
  const placeOf = event => {
    const box = svg.getBoundingClientRect();
    return [event.clientX - box.left, event.clientY - box.top];
  };
  const move = (event, before) => {
    const other = [...pointers.values()].find(pointer => pointer.pointerId !== event.pointerId);
    const distance = pointer =>
      Math.max(1, Math.hypot(pointer.clientX - other.clientX, pointer.clientY - other.clientY));
    if (other) graph.zoom(distance(event) / distance(before), ...placeOf(other));
    else graph.pan(event.clientX - before.clientX, event.clientY - before.clientY);
    pointers.set(event.pointerId, event);
  };
  const turn = event => {
    event.preventDefault();
    graph.zoom(Math.exp(-event.deltaY / 500), ...placeOf(event));
  };
  svg.addEventListener("wheel", turn, { passive: false });
  svg.addEventListener("pointerdown", event => {
    pointers.set(event.pointerId, event);
    moved = moved && pointers.size > 1;
  });
  svg.addEventListener("pointermove", event => {
    const before = pointers.get(event.pointerId);
    if (!before) return;
    if (!moved && Math.hypot(event.clientX - before.clientX, event.clientY - before.clientY) < 4) return;
    if (!moved) svg.setPointerCapture(event.pointerId);
    moved = true;
    move(event, before);
  });
  for (const end of ["pointerup", "pointercancel"])
    svg.addEventListener(end, event => pointers.delete(event.pointerId));
  svg.addEventListener("click", event => {
    if (!moved) graph.click(event.target);
    moved = false;
  });
}

function legend(isAround) {
  const sign = (height, ...content) => s("svg", { width: 34, height, "aria-hidden": "true" }, content);
  const line = kind => sign(12, s("path", { d: "M1,6 H30", class: `edge ${kind}`, "marker-end": "url(#arrow)" }));
  const outline = () => s("rect", { x: 1, y: 1, width: 32, height: 14, rx: 4 });
  const box = kind => sign(16, s("g", { class: `node ${kind}` }, outline()));
  const more = s("g", { class: "more" }, outline(), s("text", { x: 17, y: 12.5, "text-anchor": "middle" }, "+3"));
  const hasMissing = relations.some(r => !types.has(r.parent) || !types.has(r.child));
  const entries = [
    [box(""), "type"],
    [box("unlisted"), "not listed by the server"],
    hasMissing && [box("missing"), "no such type"],
    [line(""), "child is allowed below parent"],
    relations.some(r => r.isPpr) && [line("ppr"), "PPR relation"],
    isAround
      ? [line("inherited"), "inherited from a base type"]
      : [sign(16, s("g", { class: "node" }, more)), "expands the types below"],
  ].filter(Boolean);
  return h(
    "ul",
    { class: "legend", "aria-label": "Legend" },
    entries.map(([what, text]) => h("li", null, what, text)),
  );
}
