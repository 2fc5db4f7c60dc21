// SPDX-License-Identifier: MIT
// The tree of types. Items below a type are created when it is first expanded. One item can have the focus (roving
// tabindex); arrow keys move it, letters find names, Enter shows the type.
const treeItems = new Map(); // the items created so far, by type
const mostFirstRows = 36; // maximum number of rows shown initially

function treeItem(type, level, place, count) {
  const change = changeOf(type);
  const unseen = text => h("span", { class: "unseen" }, `, ${text}`);
  const item = h(
    "div",
    {
      role: "treeitem",
      tabindex: -1,
      "aria-level": level,
      "aria-posinset": place,
      "aria-setsize": count,
      "aria-selected": "false",
      "aria-expanded": type.derived.length > 0 ? "false" : null,
      title: type.label,
      class: `row ${change} ${type.isUnlisted ? "unlisted" : ""}`,
      style: `--level: ${level - 1}`,
    },
    h("span", { class: "twist" }),
    h("span", { class: "name" }, type.name),
    " ",
    h("span", { class: "says" }, type.says),
    type.isUnlisted ? unseen("unlisted") : null,
    type.isInCircle ? unseen("bases in a circle") : null,
    change ? [h("span", { class: `mark ${change}`, "aria-hidden": "true" }, change[0]), unseen(change)] : null,
    type.derived.length > 0 ? [" ", number(type.derived.length), unseen("derived")] : null,
  );
  item.shows = type;
  if (!treeItems.has(type)) treeItems.set(type, item);
  return h("li", { role: "none" }, item);
}

const isOpen = item => item.getAttribute("aria-expanded") === "true";
const itemsBelow = item => [...(item.nextElementSibling?.children ?? [])].map(li => li.firstElementChild);
function setOpen(item, open) {
  if (!item.hasAttribute("aria-expanded")) return;
  item.setAttribute("aria-expanded", String(open));
  if (open && !item.nextElementSibling) {
    const level = Number(item.getAttribute("aria-level")) + 1;
    const below = item.shows.derived.filter(type => !treeItems.has(type)); // bases may form a cycle
    item.after(
      h(
        "ul",
        { role: "group" },
        below.map((type, i) => treeItem(type, level, i + 1, below.length)),
      ),
    );
  }
}

/** Expands every type, or level by level as many as fit on the screen. */
function openTree(most) {
  let rows = roots.length;
  for (
    let level = roots.map(type => treeItems.get(type));
    level.length > 0;
    level = level.filter(isOpen).flatMap(itemsBelow)
  ) {
    for (const item of level) {
      rows += item.shows.derived.length;
      if (rows > most) return;
      setOpen(item, true);
    }
  }
}

function focusItem(item, take = true) {
  for (const other of $("tree").querySelectorAll('[tabindex="0"]')) other.tabIndex = -1;
  item.tabIndex = 0;
  if (take) item.focus({ preventScroll: true });
  item.scrollIntoView({ block: "nearest" });
}

/** Marks the shown type and expands the items around it. */
function selectInTree(type) {
  for (const item of $("tree").querySelectorAll('[aria-selected="true"]')) item.setAttribute("aria-selected", "false");
  if (!type) return;
  for (const base of basesOf(type).reverse()) if (treeItems.has(base)) setOpen(treeItems.get(base), true);
  const item = treeItems.get(type);
  if (!item) return;
  item.setAttribute("aria-selected", "true");
  focusItem(item, false);
}

const visibleItems = () =>
  [...$("tree").querySelectorAll("[role=treeitem]")].filter(item => item.offsetParent !== null);

function onTreeKey(event) {
  const item = event.target.closest("[role=treeitem]");
  if (!item || event.ctrlKey || event.metaKey || event.altKey) return;
  const step = by => {
    const items = visibleItems();
    return items[items.indexOf(item) + by];
  };
  const above = item.parentElement.parentElement.previousElementSibling; // the parent item
  const keys = {
    ArrowDown: () => step(1),
    ArrowUp: () => step(-1),
    Home: () => visibleItems()[0],
    End: () => visibleItems().at(-1),
    ArrowRight: () => (isOpen(item) ? itemsBelow(item)[0] : void setOpen(item, true)),
    ArrowLeft: () => (isOpen(item) ? void setOpen(item, false) : above?.shows && above),
    Enter: () => void (location.hash = linkTo("type", item.shows.name)),
    " ": () => void (location.hash = linkTo("type", item.shows.name)),
    "*": () => {
      for (const sibling of item.parentElement.parentElement.children) setOpen(sibling.firstElementChild, true);
    },
  };
  const isLetter = event.key.length === 1 && event.key !== "/" && !keys[event.key];
  if (!keys[event.key] && !isLetter) return;
  event.preventDefault();
  const next = isLetter ? nextWith(item, event.key) : keys[event.key]();
  if (next) focusItem(next);
}

let typed = "",
  typedAt = 0;
/** The next item whose name begins with the typed letters. */
function nextWith(item, letter) {
  typed = (Date.now() - typedAt < 700 ? typed : "") + letter.toLowerCase();
  typedAt = Date.now();
  const items = visibleItems(),
    at = items.indexOf(item) + (typed.length > 1 ? 0 : 1);
  return [...items.slice(at), ...items.slice(0, at)].find(other => other.shows.name.toLowerCase().startsWith(typed));
}

function makeTree() {
  $("treeTitle").append("Types ", number(types.size));
  $("tree").append(...roots.map((type, i) => treeItem(type, 1, i + 1, roots.length)));
  openTree(mostFirstRows);
  if (roots.length > 0) treeItems.get(roots[0]).tabIndex = 0;
  $("tree").addEventListener("keydown", onTreeKey);
  $("tree").addEventListener("click", event => {
    const item = event.target.closest("[role=treeitem]");
    if (!item) return;
    focusItem(item);
    if (event.target.classList.contains("twist")) setOpen(item, !isOpen(item));
    else location.hash = linkTo("type", item.shows.name);
  });
  $("expand").addEventListener("click", () => openTree(Infinity));
  $("collapse").addEventListener("click", () => {
    for (const item of $("tree").querySelectorAll('[aria-expanded="true"]'))
      item.setAttribute("aria-expanded", "false");
    if (roots.length > 0) focusItem(treeItems.get(roots[0]), false);
  });
}
