// SPDX-License-Identifier: MIT
// The part of the address after "#" determines the view, so that a link always leads to the same view.
const views = [
  ["", "Types"],
  ["graph", "Relations"],
  ["formats", "Formats"],
];
if (comparison) views.push(["comparison", "Comparison"]);

const relationTitle = name => (name ? `Relations of ${name}` : "Relations");
let printing = () => {}; // called before and after the view is printed

/** The view for an address: content, title, kind of view, and what to do once it is on the page. */
function viewOf([view = "", name, part]) {
  const isRelated = name === undefined || types.has(name) || relations.some(r => r.parent === name || r.child === name);
  if (view === "") return [overview(), data.name, "overview"];
  if (view === "type" && types.has(name))
    return [typeView(types.get(name)), name, "type", () => part !== undefined && openAttribute(types.get(name), part)];
  if (view === "graph" && isRelated) {
    const [page, graph] = graphPage(name);
    return [
      page,
      relationTitle(name),
      "graph",
      () => {
        graph?.start();
        printing = isPrinted => graph?.print(isPrinted);
      },
    ];
  }
  if (view === "relations" && isRelated) return [relationList(name), relationTitle(name), "relations"];
  if (view === "formats") return [formatsView(), "Formats and browsers", "formats"];
  if (view === "comparison" && comparison) return [comparisonView(), "Comparison", "comparison"];
  const what = [view, name, part].filter(p => p !== undefined).join(" / ");
  return [
    h(
      "article",
      null,
      heading("Not here", `This page has nothing for “${shown(what)}”.`),
      h("p", null, h("a", { href: "#/" }, "Overview")),
    ),
    "Not here",
    "missing",
  ];
}

/** Shows the view for the address and focuses its heading, unless the tree led there. */
function show(isNavigation) {
  const parts = shownParts();
  printing = () => {};
  const [content, title, view, then] = viewOf(parts);
  document.body.dataset.view = view;
  document.title = title === data.name ? title : `${shown(title)} – ${data.name}`;
  $("main").replaceChildren(content);
  $("main").scrollTop = 0;
  const current = { overview: "", type: "", relations: "graph" }[view] ?? view;
  for (const link of $("views").children) {
    if (link.dataset.view === current) link.setAttribute("aria-current", "page");
    else link.removeAttribute("aria-current");
  }
  selectInTree(view === "type" ? types.get(parts[1]) : null);
  const isFromTree = $("tree").contains(document.activeElement) && $("side").offsetParent !== null;
  if (isNavigation && !isFromTree) content.querySelector("h1").focus({ preventScroll: true });
  then?.();
}

function copyLink() {
  const done = () => {
    $("status").textContent = "The link is copied.";
    $("link").textContent = "Copied";
    setTimeout(() => {
      $("link").textContent = "Copy link";
    }, 1500);
  };
  const ask = () => prompt("The link to what is shown:", location.href);
  navigator.clipboard ? navigator.clipboard.writeText(location.href).then(done, ask) : ask();
}

$("brand").append(h("strong", null, data.name), data.version ? h("span", null, data.version) : "");
$("views").append(...views.map(([view, title]) => h("a", { href: `#/${view}`, "data-view": view }, title)));
makeTree();
new Search();
$("link").addEventListener("click", copyLink);
$("print").addEventListener("click", () => print());
document.querySelector(".skip").addEventListener("click", event => {
  event.preventDefault();
  $("main").focus();
});
document.addEventListener("keydown", event => {
  if (event.key !== "/" || event.ctrlKey || event.metaKey || event.altKey || event.target.matches("input")) return;
  event.preventDefault();
  $("search").focus();
  $("search").select();
});
// In print, everything in the chosen part is expanded.
let opened = [];
addEventListener("beforeprint", () => {
  opened = [...$("main").querySelectorAll("details:not([open])")];
  for (const details of opened) details.fillIn();
  for (const button of $("main").querySelectorAll("button.more")) button.click();
  printing(true);
});
addEventListener("afterprint", () => {
  for (const details of opened) details.open = false;
  printing(false);
});
addEventListener("hashchange", () => show(true));
if (location.hash === "") {
  const root = data.root === undefined ? [] : [data.root];
  const first = {
    types: root.length > 0 ? ["type", ...root] : [],
    relations: ["graph", ...root],
    comparison: ["comparison"],
  }[data.view];
  history.replaceState(null, "", linkTo(...first));
}
show(false);
