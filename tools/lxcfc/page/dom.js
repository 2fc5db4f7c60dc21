// SPDX-License-Identifier: MIT
// Creates elements. Every text of the configuration passes through here and is inserted as text, never as HTML.
const $ = id => document.getElementById(id);

/** Escapes control characters and those that change the direction of text. */
function shown(text) {
  return text.replace(
    /[\u0000-\u001f\u007f-\u009f\u2028-\u202e\u2066-\u2069]/g,
    character => `\\u${character.charCodeAt(0).toString(16).padStart(4, "0")}`,
  );
}

function fill(element, properties, children) {
  for (const [name, value] of Object.entries(properties ?? {})) {
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (value !== undefined && value !== null && value !== false)
      element.setAttribute(name, value === true ? "" : value);
  }
  for (const child of children.flat(Infinity)) {
    if (child !== null && child !== undefined && child !== "") {
      element.append(child instanceof Node ? child : shown(String(child)));
    }
  }
  return element;
}
const h = (tag, properties, ...children) => fill(document.createElement(tag), properties, children);
const s = (tag, properties, ...children) =>
  fill(document.createElementNS("http://www.w3.org/2000/svg", tag), properties, children);

/** A link to a type; only its name if there is no such type. */
function typeLink(name, ...rest) {
  const type = types.get(name);
  if (!type) return h("span", { class: "name missing", title: "Not among the types of this page" }, name);
  return h("a", { class: type.isUnlisted ? "name unlisted" : "name", href: linkTo("type", name, ...rest) }, name);
}
const typeList = list =>
  h(
    "ul",
    { class: "links" },
    list.map(type => h("li", null, typeLink(type.name))),
  );
const chip = (text, kind = "") => h("span", { class: `chip ${kind}` }, text);
const changeChip = what => (what ? chip(what, what) : null);
const number = count => h("span", { class: "count" }, count.toLocaleString("en"));

const mostRows = 300; // more are shown on demand

/**
 * A table without its empty columns.
 * @param columns  { head, cell(row): a text or nodes, small: not on small screens, number: right-aligned }
 * @param more     optional: returns the nodes to show below a row when its first cell is pressed
 * @param idOf     optional: returns the id by which a row can be opened
 */
function table(caption, columns, rows, { more, idOf } = {}) {
  const cells = rows.map(row => columns.map(column => column.cell(row)));
  const isEmpty = cell =>
    cell === null || cell === undefined || cell === "" || (Array.isArray(cell) && cell.length === 0);
  const used = columns.map((_, i) => cells.some(row => !isEmpty(row[i])));
  const classes = column => [column.small && "small", column.number && "number"].filter(Boolean).join(" ") || null;
  const head = columns.filter((_, i) => used[i]).map(c => h("th", { scope: "col", class: classes(c) }, c.head));
  const body = h("tbody");
  const add = (row, i) => {
    const line = h("tr", { id: idOf?.(row) });
    columns.forEach((column, j) => {
      if (!used[j]) return;
      const isFirst = line.childElementCount === 0;
      const content = isFirst && more ? opener(line, row, cells[i][j], more, head.length) : cells[i][j];
      line.append(isFirst ? h("th", { scope: "row" }, content) : h("td", { class: classes(column) }, content));
    });
    body.append(line);
  };
  rows.slice(0, mostRows).forEach(add);
  const others = rows.length - mostRows;
  const addOthers = event => {
    event.currentTarget.remove();
    rows.slice(mostRows).forEach((row, i) => add(row, mostRows + i));
  };
  const heads = [h("caption", { class: "unseen" }, caption), h("thead", null, h("tr", null, head))];
  return h(
    "div",
    { class: "table" },
    h("table", null, heads, body),
    others > 0
      ? h(
          "button",
          { type: "button", class: "more", onclick: addOthers },
          `Show the other ${others.toLocaleString("en")}`,
        )
      : null,
  );
}

/** A button that expands the details below its row. */
function opener(line, row, content, more, width) {
  const isLink = content instanceof Element && content.matches("a"); // a link stays a link, beside the button
  const button = h(
    "button",
    {
      type: "button",
      class: isLink ? "opener alone" : "opener",
      "aria-expanded": "false",
      "aria-label": isLink ? `All of ${content.textContent}` : null,
    },
    isLink ? null : content,
  );
  const toggle = () => {
    const isOpen = button.getAttribute("aria-expanded") === "true";
    button.setAttribute("aria-expanded", String(!isOpen));
    if (isOpen) line.nextElementSibling.remove();
    else line.after(h("tr", { class: "below" }, h("td", { colspan: width }, more(row))));
  };
  button.addEventListener("click", toggle);
  return isLink ? [button, content] : button;
}

/** All values of an object that has any, by name. */
function properties(kind, object) {
  const { keys } = data.kinds[kind];
  const rows = keys
    .map((key, i) => [key, object.v[i]])
    .filter(([, value]) => value !== null && value !== "" && value !== false);
  const off = keys.filter((key, i) => object.v[i] === false);
  return [
    h(
      "dl",
      { class: "properties" },
      rows.map(([key, value]) => {
        const word = wordFor(key, value);
        const isWord = typeof value === "number" && word !== String(value);
        return h(
          "div",
          null,
          h("dt", null, titleOf(key)),
          h("dd", null, word, isWord ? h("span", { class: "code" }, ` ${value}`) : ""),
        );
      }),
    ),
    off.length > 0 ? h("p", { class: "off" }, "Not set: ", off.map(titleOf).join(", ").toLowerCase()) : null,
  ];
}

/** A part of a view, with its heading. */
function section(id, title, count, ...content) {
  return h(
    "section",
    { id, "aria-labelledby": `${id}-title` },
    h("h2", { id: `${id}-title` }, title, count === null ? null : [" ", number(count)]),
    content,
  );
}
function folded(title, count, isOpen, content) {
  const details = h("details", { open: isOpen }, h("summary", null, h("h3", null, title, " ", number(count))));
  const open = () => {
    if (details.open && details.childElementCount === 1) details.append(h("div", null, content()));
  };
  details.addEventListener("toggle", open);
  details.fillIn = () => {
    details.open = true;
    open();
  };
  open();
  return details;
}
const nothing = text => h("p", { class: "nothing" }, text);

/** A table of changes, each with a link to the changed object. */
function changeRows(rows, caption, withType) {
  const linkOf = row => {
    if (!row.type) return h("a", { class: "name", href: linkTo("formats") }, row.path.join(" / "));
    if (row.isOfRelation) return h("a", { class: "name", href: linkTo("relations", row.type) }, row.path.join(" / "));
    const type = types.get(row.type);
    const isPart = row.path.length > 1;
    const name = withType || !isPart ? row.path.join(" / ") : row.path.slice(1).join(" / ");
    const isAttribute = isPart && type?.attributes.some(a => textOf("attribute", a, "name") === row.path[1]);
    return type
      ? h("a", { class: "name", href: linkTo("type", row.type, ...(isAttribute ? [row.path[1]] : [])) }, name)
      : h("span", { class: "name" }, name);
  };
  const columns = [
    { head: "Name", cell: linkOf },
    { head: "Kind", cell: row => row.kind, small: true },
    { head: "Change", cell: row => [chip(row.what, row.what), " ", row.property ? titleOf(row.property) : ""] },
    { head: "Before", cell: row => (row.what === "changed" ? h("del", null, said(row, row.before)) : "") },
    { head: "After", cell: row => (row.what === "changed" ? h("ins", null, said(row, row.after)) : "") },
    { head: "Parts", cell: row => (row.parts > 0 ? row.parts : ""), number: true, small: true },
  ];
  return table(caption, columns, rows);
}
function said(row, value) {
  if (value === null || value === "") return "(empty)";
  return value === false ? "no" : wordFor(row.property, value);
}
