// SPDX-License-Identifier: MIT
// Search over everything: names first, then labels, then any other value.
let index = null;
const mostFound = 60;

function makeIndex() {
  index = [];
  const add = (kind, object, what, name, where, href) => {
    const values = object.v
      .map((value, i) => [data.kinds[kind].keys[i], value])
      .filter(([, value]) => typeof value === "string" && value !== "" && value !== name);
    index.push({
      what,
      name,
      where,
      href,
      values,
      low: name.toLowerCase(),
      rest: values.map(([, value]) => value.toLowerCase()).join("\n"),
    });
  };
  for (const type of types.values()) {
    const here = linkTo("type", type.name);
    const part = (kind, object, what, name) => add(kind, object, what, name, type.name, here);
    add("type", type.raw, "type", type.name, type.base, here);
    for (const attribute of type.attributes) {
      const name = nameOf(attribute),
        there = linkTo("type", type.name, name);
      add("attribute", attribute, "attribute", name, type.name, there);
      for (const choice of attribute.choices ?? [])
        add("choice", choice, "attribute type", textOf("choice", choice, "name"), `${type.name} / ${name}`, there);
      for (const format of Object.values(attribute.formats ?? {}))
        add("format", format, "format", textOf("format", format, "pattern"), `${type.name} / ${name}`, there);
    }
    for (const page of type.raw.pages) part("page", page, "page", textOf("page", page, "label"));
    for (const group of type.raw.groups) part("group", group, "group", textOf("group", group, "label"));
    for (const editor of type.raw.editors) part("editor", editor, "editor", textOf("editor", editor, "progId"));
  }
  for (const r of relations)
    add("relation", r.raw, "relation", `${r.parent} → ${r.child}`, r.list, linkTo("relations", r.parent));
  for (const browser of data.browsers)
    add("browser", browser, "browser", textOf("browser", browser, "name"), "", linkTo("formats"));
  for (const spec of data.specs) add("spec", spec, "format spec", textOf("spec", spec, "name"), "", linkTo("formats"));
}

/** The rank of an entry; less is better, Infinity is no match. */
function rank(entry, wanted) {
  const at = entry.low.indexOf(wanted);
  const order = entry.what === "type" ? 0 : entry.what === "attribute" ? 1 : 2;
  if (at === 0) return (entry.low.length === wanted.length ? 0 : 10) + order;
  if (at > 0) return 20 + order;
  return entry.rest.includes(wanted) ? 30 + order : Infinity;
}

function find(text) {
  const wanted = text.trim().toLowerCase();
  if (wanted === "") return [];
  if (!index) makeIndex();
  return index
    .map(entry => [rank(entry, wanted), entry])
    .filter(([r]) => r < Infinity)
    .sort(([a, x], [b, y]) => a - b || x.name.length - y.name.length || x.name.localeCompare(y.name, "en"))
    .map(([, entry]) => entry);
}

function marked(text, wanted) {
  const at = text.toLowerCase().indexOf(wanted);
  return at < 0
    ? text
    : [text.slice(0, at), h("mark", null, text.slice(at, at + wanted.length)), text.slice(at + wanted.length)];
}

function resultItem(entry, i, wanted) {
  const value = entry.low.includes(wanted)
    ? null
    : entry.values.find(([, text]) => text.toLowerCase().includes(wanted));
  return h(
    "li",
    { role: "option", id: `result-${i}`, "aria-selected": "false", "data-href": entry.href },
    h("span", { class: "what" }, entry.what),
    h("span", { class: "name" }, marked(entry.name || "(no name)", wanted)),
    value ? h("span", { class: "value" }, `${titleOf(value[0])}: `, marked(value[1], wanted)) : null,
    entry.where ? h("span", { class: "where" }, entry.where) : null,
  );
}

/** The search field with the list of results, one of which is marked. */
class Search {
  constructor() {
    this.input = $("search");
    this.box = $("found");
    this.list = $("results");
    this.at = -1;
    this.input.addEventListener("input", () => this.search());
    this.input.addEventListener("focus", () => {
      if (this.input.value.trim() !== "") this.search();
    });
    this.input.addEventListener("blur", () => this.close());
    this.input.addEventListener("keydown", event => this.press(event));
    this.box.addEventListener("pointerdown", event => event.preventDefault()); // the field keeps the focus
    this.list.addEventListener("click", event => this.open(event.target.closest("[role=option]")));
  }

  search() {
    const wanted = this.input.value.trim().toLowerCase(),
      found = find(wanted),
      count = found.length;
    const said =
      count === 0
        ? "Nothing found"
        : count > mostFound
          ? `The first ${mostFound} of ${count.toLocaleString("en")}`
          : `${count} found`;
    this.list.replaceChildren(...found.slice(0, mostFound).map((entry, i) => resultItem(entry, i, wanted)));
    $("foundCount").textContent = said;
    $("status").textContent = wanted ? said : "";
    this.at = -1;
    if (wanted === "") return this.close();
    this.list.hidden = count === 0;
    this.box.hidden = false;
    this.input.setAttribute("aria-expanded", String(count > 0));
    this.mark(0);
  }
  close() {
    this.box.hidden = true;
    this.input.setAttribute("aria-expanded", "false");
    this.input.removeAttribute("aria-activedescendant");
  }
  mark(to) {
    this.list.children[this.at]?.setAttribute("aria-selected", "false");
    this.at = to;
    const item = this.list.children[to];
    if (!item) return;
    item.setAttribute("aria-selected", "true");
    item.scrollIntoView({ block: "nearest" });
    this.input.setAttribute("aria-activedescendant", item.id);
  }
  open(item) {
    if (!item) return;
    this.close();
    if (location.hash === item.dataset.href) show(true);
    else location.hash = item.dataset.href;
  }
  press(event) {
    const count = this.list.childElementCount;
    const keys = {
      ArrowDown: () => this.mark((this.at + 1) % count),
      ArrowUp: () => this.mark((this.at + count - 1) % count),
      Enter: () => this.open(this.list.children[this.at]),
      Escape: () => {
        if (this.box.hidden) this.input.value = "";
        this.close();
      },
    };
    if (!keys[event.key] || (count === 0 && event.key !== "Escape")) return;
    event.preventDefault();
    keys[event.key]();
  }
}
