// SPDX-License-Identifier: MIT
// The layout of a graph of relations, from left to right. For all relations: the nodes below expanded ones. For one type:
// its parents to the left, its children to the right.
const rowHeight = 34,
  columnGap = 76,
  nodeHeight = 26,
  tallHeight = 42,
  margin = 24;
const measure = document.createElement("canvas").getContext("2d");
const longest = 34;
const short = text => (text.length > longest ? `${text.slice(0, longest - 1)}…` : text);
function widthOf(text, font) {
  measure.font = `${font} ${getComputedStyle(document.body).fontFamily}`;
  return Math.ceil(measure.measureText(short(shown(text))).width);
}

/** The graph of all relations, with an edge for each pair of types. */
const relationGraph = (() => {
  let made = null;
  return () => {
    if (made) return made;
    const nodes = new Map();
    const node = name => {
      if (!nodes.has(name)) nodes.set(name, { name, out: new Map(), into: new Set() });
      return nodes.get(name);
    };
    for (const relation of relations) {
      const from = node(relation.parent),
        to = node(relation.child);
      if (!from.out.has(to)) from.out.set(to, { relations: [] });
      from.out.get(to).relations.push(relation);
      if (from !== to) to.into.add(from);
    }
    return (made = nodes);
  };
})();

/** Visits reachable nodes, the nearest first: visit(to, from, distance) returns whether to continue from there. */
function walk(first, visit) {
  let level = [first];
  for (let distance = 1; level.length > 0; ++distance) {
    level = level.flatMap(from => [...from.out.keys()].filter(to => visit(to, from, distance)));
  }
}

/** The roots of the graph: nodes without parents, and one node of each cycle that no other node leads to. */
function startsOf(graph) {
  const starts = [],
    reached = new Set();
  const start = node => {
    starts.push(node);
    reached.add(node);
    walk(node, to => !reached.has(to) && reached.add(to));
  };
  for (const node of graph.values()) if (node.into.size === 0) start(node);
  for (const node of graph.values()) if (!reached.has(node)) start(node);
  return starts;
}

/** The nodes that are visible if these are expanded, each at its shortest distance from a root. */
function layoutAll(open) {
  const drawn = new Map(),
    edges = [];
  const place = (node, column) => {
    const isOpen = open.has(node.name);
    const made = { name: node.name, column, children: [], below: node.out.size, isOpen, node };
    drawn.set(node.name, made);
    return made;
  };
  const starts = startsOf(relationGraph()).map(node => place(node, 0));
  for (const start of starts) {
    walk(start.node, (to, from, column) => {
      if (!open.has(from.name) || drawn.has(to.name)) return false;
      return drawn.get(from.name).children.push(place(to, column));
    });
  }
  for (const from of drawn.values()) {
    if (!from.isOpen) continue;
    for (const [to, { relations: list }] of from.node.out) edges.push({ from, to: drawn.get(to.name), list });
  }
  return arranged([...drawn.values()], starts, edges, nodeHeight);
}

/** One type with its possible parents and children, including those through its bases. */
function layoutAround(name) {
  const type = types.get(name);
  const owners = [name, ...(type ? basesOf(type).map(base => base.name) : [])];
  const center = { key: "*", name, column: 1, children: [], below: 0, isCenter: true };
  const nodes = [center],
    edges = [];
  const add = (relation, end, column) => {
    const key = `${column} ${relation[end]}`;
    let node = nodes.find(other => other.key === key);
    if (!node) {
      node = { key, name: relation[end], column, children: [], below: 0, lists: new Set() };
      nodes.push(node);
      edges.push({ from: column === 0 ? node : center, to: column === 0 ? center : node, list: [], isInherited: true });
    }
    const edge = edges.find(other => other.from === node || other.to === node);
    edge.list.push(relation);
    edge.isInherited &&= relation[end === "child" ? "parent" : "child"] !== name;
    node.lists.add(relation.list);
  };
  for (const relation of relations) {
    if (owners.includes(relation.parent)) add(relation, "child", 2);
    if (owners.includes(relation.child)) add(relation, "parent", 0);
  }
  const height = tallHeight + 10;
  const columns = [0, 2].map(column => nodes.filter(node => node.column === column));
  const tallest = Math.max(1, ...columns.map(column => column.length));
  for (const column of columns)
    column.forEach((node, i) => {
      node.y = (i + (tallest - column.length) / 2) * height;
    });
  center.y = ((tallest - 1) / 2) * height;
  return sized(nodes, edges, tallHeight);
}

/** Places a parent in the middle of its children. */
function arranged(nodes, starts, edges, height) {
  let rows = 0;
  const place = node => {
    node.children.forEach(place);
    node.y = node.children.length > 0 ? (node.children[0].y + node.children.at(-1).y) / 2 : rows++ * rowHeight;
  };
  starts.forEach(place);
  return sized(nodes, edges, height);
}

function sized(nodes, edges, height) {
  const widths = [];
  for (const node of nodes) {
    node.sub = node.lists ? [...node.lists].filter(Boolean).join(", ") : "";
    node.width =
      Math.max(widthOf(node.name, "500 13px"), node.sub ? widthOf(node.sub, "12px") : 0) + 20 + (node.below ? 30 : 0);
    node.height = height;
    widths[node.column] = Math.max(widths[node.column] ?? 0, node.width);
  }
  const lefts = [0];
  for (let i = 0; i < widths.length; ++i) lefts[i + 1] = lefts[i] + (widths[i] ?? 0) + columnGap;
  for (const node of nodes) node.x = lefts[node.column];
  return {
    nodes,
    edges,
    width: lefts.at(-1) - columnGap,
    height: Math.max(0, ...nodes.map(node => node.y + node.height)),
  };
}
