// SPDX-License-Identifier: MIT
// The other views: overview, relations, formats with browsers, comparison.
const heading = (title, subtitle) => [
  h("h1", { tabindex: -1 }, title),
  subtitle ? h("p", { class: "subtitle" }, subtitle) : null,
];

function facts() {
  const attributes = data.types.reduce((sum, type) => sum + type.attributes.length, 0);
  const differences =
    comparison && ["added", "changed", "removed"].reduce((sum, what) => sum + comparison[what].length, 0);
  const all = [
    [types.size, "type"],
    [attributes, "attribute"],
    [relations.length, "relation", "graph"],
    [data.browsers.length, "browser", "formats"],
    [data.specs.length, "format spec", "formats"],
    comparison && [differences, "difference", "comparison"],
  ].filter(Boolean);
  return h(
    "ul",
    { class: "facts" },
    all.map(([count, what, view]) => {
      const text = [h("strong", null, count.toLocaleString("en")), " ", count === 1 ? what : `${what}s`];
      return h("li", null, view ? h("a", { href: linkTo(view) }, text) : text);
    }),
  );
}

function keyHelp() {
  const keys = [
    [["/"], "search everything"],
    [["↑", "↓"], "move in the tree"],
    [["→", "←"], "open and close"],
    [["Enter"], "show the type"],
    [["+", "−", "0"], "zoom the graph, and fit it"],
    [["Shift", "arrows"], "move the graph"],
  ];
  const entry = ([names, text]) =>
    h(
      "div",
      null,
      h(
        "dt",
        null,
        names.map(name => h("kbd", null, name)),
      ),
      h("dd", null, text),
    );
  return h("dl", { class: "keys" }, keys.map(entry));
}

function overview() {
  const largest = [...types.values()].sort((a, b) => b.attributes.length - a.attributes.length).slice(0, 8);
  const withInherited = type => [type, ...basesOf(type)].reduce((sum, owner) => sum + owner.attributes.length, 0);
  const columns = [
    { head: "Type", cell: type => typeLink(type.name) },
    { head: "Label", cell: type => type.label, small: true },
    { head: "Own", cell: type => type.attributes.length, number: true },
    { head: "With inherited", cell: withInherited, number: true },
    { head: "Derived types", cell: type => type.derived.length || "", number: true },
  ];
  return h(
    "article",
    null,
    heading(data.name, data.version ? `Version ${data.version}` : ""),
    facts(),
    section(
      "largest",
      "Types with the most attributes of their own",
      null,
      table("The largest types", columns, largest),
    ),
    section("keys", "Keys", null, keyHelp()),
  );
}

const relationTabs = (name, current) =>
  h(
    "nav",
    { class: "tabs", "aria-label": "Relations as" },
    [
      ["graph", "Graph"],
      ["relations", "List"],
    ].map(([view, title]) =>
      h("a", { href: linkTo(view, ...(name ? [name] : [])), "aria-current": view === current ? "true" : null }, title),
    ),
  );
const scopeOf = (name, view) =>
  name && [
    types.has(name) ? h("a", { href: linkTo("type", name) }, "Open the type") : null,
    h("a", { href: linkTo(view) }, "All relations"),
  ];

function graphPage(name) {
  const graph = new GraphView(name);
  const hasAny = relations.length > 0;
  const page = h(
    "article",
    { class: "fill" },
    h(
      "div",
      { class: "head" },
      h("h1", { tabindex: -1 }, name ? `Relations of ${name}` : "Relations"),
      relationTabs(name, "graph"),
      hasAny ? graph.tools : null,
      h("span", { class: "scope" }, scopeOf(name, "graph")),
    ),
    hasAny ? graph.figure : nothing("There are no relations."),
  );
  return [page, hasAny ? graph : null];
}

function relationList(name) {
  const list = name ? relations.filter(r => r.parent === name || r.child === name) : relations;
  return h(
    "article",
    null,
    h(
      "div",
      { class: "head" },
      h("h1", { tabindex: -1 }, name ? `Relations of ${name}` : "Relations", " ", number(list.length)),
      relationTabs(name, "relations"),
      h("span", { class: "scope" }, scopeOf(name, "relations")),
    ),
    list.length > 0 ? relationTable(list) : nothing("There are no relations."),
  );
}

function specTable() {
  const nameOfSpec = spec => textOf("spec", spec, "label") || textOf("spec", spec, "name");
  const patternsOf = spec =>
    Object.values(spec.formats ?? {}).map(format => h("code", null, textOf("format", format, "pattern")));
  const columns = [
    { head: "Id", cell: spec => h("span", { class: "name" }, textOf("spec", spec, "name")) },
    { head: "Label", cell: spec => textOf("spec", spec, "label") },
    ...otherColumns("spec", ["name", "label"]),
    { head: "Formats", cell: spec => h("span", { class: "patterns" }, patternsOf(spec)) },
  ];
  const more = spec => h("div", { class: "detail" }, formatTable(formatsOf([spec], nameOfSpec), false));
  return table("Format specs", columns, data.specs, { more });
}

function browserTable() {
  return table(
    "Browsers",
    [
      { head: "Id", cell: browser => h("span", { class: "name" }, textOf("browser", browser, "name")) },
      { head: "Label", cell: browser => textOf("browser", browser, "label") },
      ...otherColumns("browser", ["name", "label"]),
    ],
    data.browsers,
  );
}

function formatsView() {
  const { specs, browsers } = data;
  return h(
    "article",
    null,
    heading("Formats and browsers", "What all types share"),
    section("specs", "Format specs", specs.length, specs.length > 0 ? specTable() : nothing("There are none.")),
    section("browsers", "Browsers", browsers.length, browsers.length > 0 ? browserTable() : nothing("There are none.")),
  );
}

function comparisonView() {
  const all = ["added", "changed", "removed"].flatMap(what => comparison[what]);
  const general = all.filter(row => !row.type);
  const byType = [...changes.entries()].sort(([a], [b]) => a.localeCompare(b, "en"));
  return h(
    "article",
    null,
    heading("Comparison", [
      h("span", { class: "name" }, comparison.before),
      " → ",
      h("span", { class: "name" }, data.name),
      `, ${counted(comparison.objects, "object")}`,
    ]),
    h(
      "ul",
      { class: "facts" },
      ["added", "changed", "removed"].map(what =>
        h("li", { class: what }, h("strong", null, comparison[what].length.toLocaleString("en")), ` ${what}`),
      ),
    ),
    all.length === 0 ? nothing("They do not differ.") : null,
    general.length > 0
      ? section("general", "Formats and browsers", general.length, changeRows(general, "Formats and browsers", true))
      : null,
    byType.length > 0
      ? section(
          "bytype",
          "Types",
          byType.length,
          byType.map(([name, rows]) =>
            folded(name, rows.length, byType.length <= 20, () => changeRows(rows, `Changes of ${name}`, false)),
          ),
        )
      : null,
  );
}
