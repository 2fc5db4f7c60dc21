// SPDX-License-Identifier: MIT
// The configuration: the JSON data of the page, and data derived from it.
//
// The values of an object are in "v". For each kind, data.kinds has the names of the values ("keys") and the positions
// of those that the page itself uses ("at").
const data = JSON.parse(document.getElementById("data").textContent);

/** A value by the page's name for it; null if the server's property has no name. */
function valueOf(kind, object, name) {
  const at = data.kinds[kind].at[name];
  return at === undefined ? null : object.v[at];
}
const textOf = (kind, object, name) => plain(valueOf(kind, object, name));
const plain = value =>
  value === null || value === undefined || value === false ? "" : value === true ? "yes" : String(value);

/** The word for a number, such as "text" for data type 2. */
function wordFor(key, value) {
  const word = typeof value === "number" && (data.words?.[key] ?? []).find(([number]) => number === value);
  return word ? word[1] : plain(value);
}
function wordOf(kind, object, name) {
  const at = data.kinds[kind].at[name];
  return at === undefined ? "" : wordFor(data.kinds[kind].keys[at], object.v[at]);
}

/** "Data type" for "dataType", "Property 29" for "p29". */
function titleOf(key) {
  if (/^p\d+$/.test(key)) return `Property ${key.slice(1)}`;
  const words = key.includes(" ") ? key : key.replace(/[A-Z]/g, letter => ` ${letter.toLowerCase()}`);
  return words.charAt(0).toUpperCase() + words.slice(1);
}
const counted = (count, one, many = `${one}s`) => `${count.toLocaleString("en")} ${count === 1 ? one : many}`;

// ---- types by name, with their bases and derived types
const types = new Map();
data.types.sort((a, b) => (a.name < b.name ? -1 : 1)); // including removed ones
for (const raw of data.types) {
  const label = textOf("type", raw, "label");
  types.set(raw.name, {
    raw,
    label,
    name: raw.name,
    base: textOf("type", raw, "base"),
    derived: [],
    above: [],
    below: [],
    attributes: raw.attributes,
    isUnlisted: Boolean(raw.unlisted),
    isRemoved: Boolean(raw.removed),
    // A label that differs from the name only in blanks adds nothing.
    says: label.toLowerCase().replaceAll(" ", "") === raw.name.toLowerCase() ? "" : label,
  });
}
for (const type of types.values()) if (type.base !== type.name) types.get(type.base)?.derived.push(type);

/** A type's bases, nearest first. A cycle is followed once. */
function basesOf(type) {
  const bases = [];
  for (let base = types.get(type.base); base && base !== type && !bases.includes(base); base = types.get(base.base)) {
    bases.push(base);
  }
  return bases;
}

/** The roots of the tree: types without a base, and one type of each cycle of bases. */
const roots = [];
{
  const reached = new Set();
  const reach = root => {
    const waiting = [root];
    roots.push(root);
    while (waiting.length > 0) {
      const type = waiting.pop();
      if (reached.has(type)) continue;
      reached.add(type);
      waiting.push(...type.derived);
    }
  };
  const isTree = data.view === "types" && types.has(data.root);
  if (isTree) {
    reach(types.get(data.root));
  } else {
    for (const type of types.values()) if (!types.has(type.base)) reach(type);
    for (const type of types.values()) {
      if (!reached.has(type)) {
        type.isInCircle = true;
        reach(type);
      }
    }
  }
}

// ---- relations
const relations = data.relations.map(raw => ({
  raw,
  parent: raw.parent,
  child: raw.child,
  list: textOf("relation", raw, "list"),
  isPpr: Boolean(valueOf("relation", raw, "ppr")),
  browsers: raw.shown.filter(info => !valueOf("shown", info, "new")).map(info => textOf("shown", info, "browser")),
  offered: raw.shown.filter(info => valueOf("shown", info, "new")).map(info => textOf("shown", info, "browser")),
}));
for (const relation of relations) {
  types.get(relation.parent)?.below.push(relation);
  types.get(relation.child)?.above.push(relation);
}

// ---- differences by type
const changes = new Map();
const comparison = data.comparison ?? null;
const pathOf = name => name.split("/").map(part => part.replaceAll("%2F", "/").replaceAll("%25", "%"));
const generalKinds = ["browser", "format spec"];
if (comparison) {
  for (const what of ["removed", "added", "changed"]) {
    for (const row of comparison[what]) {
      row.what = what;
      row.isOfRelation = row.kind === "relation" || row.kind === "PC info";
      const isOfSpec = row.kind === "format" && row.name.startsWith("format spec ");
      const owner = row.kind === "PC info" ? "relation " : isOfSpec ? "format spec " : ""; // precedes a part's name
      row.path = pathOf(row.name.slice(owner.length));
      row.type = generalKinds.includes(row.kind) || isOfSpec ? "" : row.path[0];
      if (!row.type) continue;
      if (!changes.has(row.type)) changes.set(row.type, []);
      changes.get(row.type).push(row);
    }
  }
}
/** "added", "changed", "removed" or "". */
function changeOf(type) {
  if (type.isRemoved) return "removed";
  const rows = changes.get(type.name) ?? [];
  return rows.some(row => row.kind === "type" && row.what === "added") ? "added" : rows.length > 0 ? "changed" : "";
}

// ---- links to views
const linkTo = (...parts) => `#/${parts.map(encodeURIComponent).join("/")}`;
function shownParts() {
  try {
    return location.hash.replace(/^#\/?/, "").split("/").filter(Boolean).map(decodeURIComponent);
  } catch {
    return []; // not a link of this page
  }
}
