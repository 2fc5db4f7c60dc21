// SPDX-License-Identifier: MIT
// The view of one type, with its own and its inherited parts separately.
const nameOf = attribute => textOf("attribute", attribute, "name");

function groupOf(owner, attribute) {
  const wanted = valueOf("attribute", attribute, "group");
  if (!wanted) return "";
  const isIt = group => valueOf("group", group, "number") === wanted;
  for (const type of [owner, ...basesOf(owner)]) {
    const group = type.raw.groups.find(isIt);
    if (group) return textOf("group", group, "label") || String(wanted);
  }
  return String(wanted);
}
const displays = ["editor", "finder", "browser"];
const idOf = name => `attribute-${encodeURIComponent(name)}`;

function attributeTable(owner, attributes, caption) {
  const changed = new Set((changes.get(owner.name) ?? []).filter(row => row.path.length > 1).map(row => row.path[1]));
  const columns = [
    {
      head: "Name",
      cell: a => [h("span", { class: "name" }, nameOf(a)), changed.has(nameOf(a)) ? changeChip("changed") : null],
    },
    { head: "Label", cell: a => textOf("attribute", a, "label"), small: true },
    { head: "Data type", cell: a => wordOf("attribute", a, "dataType") },
    { head: "Unit", cell: a => textOf("attribute", a, "unit") },
    { head: "Group", cell: a => groupOf(owner, a), small: true },
    { head: "Default", cell: a => textOf("attribute", a, "default"), small: true },
    { head: "Shown in", cell: a => displays.filter(d => valueOf("attribute", a, d)).join(", "), small: true },
  ];
  return table(caption, columns, attributes, { more: a => attributeDetails(owner, a), idOf: a => idOf(nameOf(a)) });
}

function attributeDetails(owner, attribute) {
  const choices = attribute.choices ?? [];
  return h(
    "div",
    { class: "detail" },
    properties("attribute", attribute),
    choices.length > 0
      ? [
          h("h4", null, "Attribute types ", number(choices.length)),
          table(
            "Attribute types",
            [
              { head: "Name", cell: c => textOf("choice", c, "name") },
              { head: "Label", cell: c => textOf("choice", c, "label") },
              ...otherColumns("choice", ["name", "label"]),
            ],
            choices,
          ),
        ]
      : null,
    attribute.formats ? [h("h4", null, "Formats"), formatTable(formatsOf([attribute]), false)] : null,
    h("p", null, h("a", { href: linkTo("type", owner.name, nameOf(attribute)) }, "Link to this attribute")),
  );
}

/** A column for each property that no other column shows. */
function otherColumns(kind, shownOnes) {
  const places = shownOnes.map(name => data.kinds[kind].at[name]);
  return data.kinds[kind].keys
    .map((key, i) => ({ head: titleOf(key), cell: object => wordFor(key, object.v[i]), small: true }))
    .filter((_, i) => !places.includes(i));
}

/** The formats of attributes or specs; equal ones are merged, with all their owners. */
function formatsOf(owners, nameOfOwner = nameOf) {
  const alike = new Map();
  for (const owner of owners) {
    for (const [formatType, format] of Object.entries(owner.formats ?? {})) {
      const values = data.kinds.format.keys.map((_, i) => (i === data.kinds.format.at.name ? "" : format.v[i]));
      const key = JSON.stringify([formatType, values]);
      if (!alike.has(key)) alike.set(key, { formatType, format, owners: [] });
      alike.get(key).owners.push(nameOfOwner(owner));
    }
  }
  return [...alike.values()];
}
function formatTable(formats, withOwners = true, ownersAre = "Attributes") {
  return table(
    "Formats",
    [
      { head: "Pattern", cell: f => h("code", null, textOf("format", f.format, "pattern") || "(no pattern)") },
      { head: "Format type", cell: f => f.formatType, number: true },
      { head: "Width", cell: f => valueOf("format", f.format, "width") || "", number: true },
      {
        head: ownersAre,
        cell: f =>
          withOwners
            ? f.owners.slice(0, 8).join(", ") + (f.owners.length > 8 ? ` and ${f.owners.length - 8} more` : "")
            : "",
      },
    ],
    formats,
  );
}

/** A group in its page's outline, with its child groups. */
function groupItem(type, group, inside) {
  const wanted = valueOf("group", group, "number");
  const own = type.attributes.filter(a => valueOf("attribute", a, "group") === wanted);
  const facts = [
    `group ${wanted}`,
    own.length > 0 && counted(own.length, "attribute"),
    group.formats && `format ${textOf("format", group.formats[0], "pattern")}`,
  ].filter(Boolean);
  const name = h("span", { class: "name" }, textOf("group", group, "label") || "(no label)");
  return h("li", null, name, " ", h("span", { class: "faint" }, facts.join(", ")), inside);
}

/** The pages of a type with their groups. Each group occurs once, whatever its page and parent are. */
function pagesAndGroups(type) {
  const { pages, groups } = type.raw;
  const left = new Set(groups);
  const take = isWanted => groups.filter(group => left.has(group) && isWanted(group) && left.delete(group));
  const numberOf = group => valueOf("group", group, "number");
  const pageOf = group => valueOf("group", group, "page") ?? 0;
  const parentOf = group => groups.find(other => numberOf(other) === valueOf("group", group, "parent"));
  const list = some =>
    some.length > 0 &&
    h(
      "ul",
      null,
      some.map(group => groupItem(type, group, list(take(other => parentOf(other) === group)) || null)),
    );
  const part = (title, number, some) =>
    h("li", null, h("strong", null, title), " ", h("span", { class: "faint" }, number), list(some) || null);
  const items = pages.map(page => {
    const number = valueOf("page", page, "number");
    const here = take(group => pageOf(group) === number && !parentOf(group));
    return part(textOf("page", page, "label") || "(no label)", `page ${number}`, here);
  });
  const elsewhere = [
    ["On no page", group => pageOf(group) === 0 && !parentOf(group)],
    ["On missing pages", group => !parentOf(group)],
    ["In each other", () => true],
  ];
  const others = elsewhere.map(([title, isThere]) => {
    const some = take(isThere);
    return some.length > 0 ? part(title, "", some) : null;
  });
  return h("ul", { class: "outline" }, items, others);
}

function editorTable(editors) {
  return table(
    "Editors",
    [
      { head: "Editor", cell: e => h("span", { class: "name" }, textOf("editor", e, "progId")) },
      { head: "Menu text", cell: e => textOf("editor", e, "menu") },
      { head: "Browser", cell: e => textOf("editor", e, "browser") },
      { head: "Default", cell: e => textOf("editor", e, "default") },
      { head: "Default for new", cell: e => textOf("editor", e, "defaultNew") },
      ...otherColumns("editor", ["progId", "menu", "browser", "default", "defaultNew"]),
    ],
    editors,
  );
}

function relationTable(list, ends = ["parent", "child"]) {
  const heads = { parent: "Parent", child: "Child" };
  return table(
    "Relations",
    [
      ...ends.map(end => ({ head: heads[end], cell: r => typeLink(r[end]) })),
      { head: "List", cell: r => r.list },
      { head: "Browsers", cell: r => r.browsers.join(", "), small: true },
      { head: "For new objects in", cell: r => r.offered.join(", "), small: true },
      { head: "Short name", cell: r => textOf("relation", r.raw, "short"), small: true },
      { head: "PPR", cell: r => (r.isPpr ? textOf("relation", r.raw, "ppr") : ""), number: true },
      { head: "Internal", cell: r => textOf("relation", r.raw, "internal"), small: true },
    ],
    list,
    {
      more: r =>
        h(
          "div",
          { class: "detail" },
          properties("relation", r.raw),
          r.raw.shown.length > 0
            ? [
                h("h4", null, "In browsers"),
                table(
                  "In browsers",
                  [
                    { head: "Browser", cell: i => textOf("shown", i, "browser") },
                    { head: "For new objects", cell: i => (valueOf("shown", i, "new") ? "yes" : "") },
                    ...otherColumns("shown", ["browser", "new"]),
                  ],
                  r.raw.shown,
                ),
              ]
            : null,
        ),
    },
  );
}

/** The parts of a type: its own, and those of each base. */
function ownAndInherited(type, has, show, none) {
  const own = has(type);
  const from = basesOf(type)
    .map(base => [base, has(base)])
    .filter(([, parts]) => parts.length > 0);
  const fold = (title, owner, parts, open) => {
    const details = folded(title, parts.length, open, () => show(owner, parts));
    details.owner = owner;
    return details;
  };
  return [
    own.length > 0 ? fold("Own", type, own, true) : nothing(none),
    from.map(([base, parts]) => fold(`From ${base.name}`, base, parts, false)),
  ];
}

/** The sections of a type's view. */
function typeSections(type) {
  const count = has => [type, ...basesOf(type)].flatMap(has).length;
  const part = (id, title, has, show, none) => section(id, title, count(has), ownAndInherited(type, has, show, none));
  const groupsOf = t => [...t.raw.pages, ...t.raw.groups];
  const formats = t => formatsOf(t.attributes.filter(a => a.formats));
  const rows = changes.get(type.name) ?? [];
  return [
    rows.length > 0 && section("changes", "Changes", rows.length, changeRows(rows, "Changes", false)),
    part(
      "attributes",
      "Attributes",
      t => t.attributes,
      (t, list) => attributeTable(t, list, `Attributes of ${t.name}`),
      "No attributes of its own.",
    ),
    part("groups", "Pages and groups", groupsOf, pagesAndGroups, "No pages or groups of its own."),
    part(
      "editors",
      "Editors",
      t => t.raw.editors,
      (_, list) => editorTable(list),
      "No editors of its own.",
    ),
    part("formats", "Formats", formats, (_, list) => formatTable(list), "No formats of its own."),
    section(
      "relations",
      "Relations",
      count(t => [...t.below, ...t.above]),
      relationsOf(type),
    ),
    section(
      "derived",
      "Derived types",
      type.derived.length,
      type.derived.length > 0 ? typeList(type.derived) : nothing("No type derives from it."),
    ),
    section("values", "Properties", null, properties("type", type.raw)),
  ].filter(Boolean);
}

function relationsOf(type) {
  const none = "No relations of its own.";
  const hasAny = [type, ...basesOf(type)].some(t => t.below.length + t.above.length > 0);
  return [
    hasAny ? h("p", null, h("a", { href: linkTo("graph", type.name) }, "Show them as a graph")) : null,
    h("h3", { class: "group" }, `Types allowed below ${type.name}`),
    ownAndInherited(
      type,
      t => t.below,
      (_, list) => relationTable(list, ["child"]),
      none,
    ),
    h("h3", { class: "group" }, `Types that may contain ${type.name}`),
    ownAndInherited(
      type,
      t => t.above,
      (_, list) => relationTable(list, ["parent"]),
      none,
    ),
  ];
}

/** A button for each section that leads there. */
function jumpsTo(sections) {
  const jump = part => {
    const title = [...part.firstElementChild.childNodes].map(node => node.cloneNode(true));
    return h(
      "button",
      {
        type: "button",
        onclick: () => {
          part.scrollIntoView({ block: "start" });
          part.querySelector("summary, button, a")?.focus({ preventScroll: true });
        },
      },
      title,
    );
  };
  return h("nav", { class: "jumps", "aria-label": "Parts of this type" }, sections.map(jump));
}

function typeView(type) {
  const sections = typeSections(type);
  const chips = [
    changeChip(changeOf(type)),
    type.isUnlisted && chip("unlisted"),
    valueOf("type", type.raw, "searchable") === false && chip("not searchable"),
    type.isInCircle && chip("bases in a circle", "removed"),
    type.base && !types.has(type.base) && chip(`its base ${type.base} is not here`, "removed"),
  ].filter(Boolean);
  const path = basesOf(type)
    .reverse()
    .map(base => h("li", null, typeLink(base.name)));
  return h(
    "article",
    null,
    h("a", { class: "back", href: "#/" }, "All types"),
    h(
      "nav",
      { class: "path", "aria-label": "Base types" },
      h("ol", null, path, h("li", { "aria-current": "page" }, type.name)),
    ),
    h("h1", { tabindex: -1 }, type.name),
    h("p", { class: "subtitle" }, type.label === type.name ? "" : [type.label, " "], chips),
    jumpsTo(sections),
    sections,
  );
}

/** Expands the row of one attribute, own or inherited. */
function openAttribute(type, name) {
  const owner = [type, ...basesOf(type)].find(t => t.attributes.some(a => nameOf(a) === name));
  if (!owner) return;
  [...document.querySelectorAll("#attributes details")].find(details => details.owner === owner).fillIn();
  document.querySelector("#attributes .more")?.click();
  const button = document.getElementById(idOf(name))?.querySelector(".opener");
  if (!button) return;
  if (button.getAttribute("aria-expanded") === "false") button.click();
  button.focus({ preventScroll: true });
  button.closest("tr").scrollIntoView({ block: "center" });
}
