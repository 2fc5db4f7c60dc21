// SPDX-License-Identifier: MIT
//
// Writes the tree of types, or the relations between them, as a graph for Graphviz or as an HTML page.
#include "XCommands.h"
#include "XPage.h"
#include "XSuggestion.h"

#include <set>

namespace {
/// The nodes are types. In a tree, edges lead from a base to derived types; in a graph of relations, from a parent to a
/// child.
struct Graph {
    std::string title;
    std::map<std::string, const XTypeNode*> nodes;
    struct Edge {
        std::string from;
        std::string to;
        std::string label;
    };
    std::vector<Edge> edges;
};

Graph TypeGraph(const XTypeNodes& types) {
    Graph graph{"Types", {}, {}};
    for (const auto& [name, node] : types) {
        graph.nodes.emplace(name, &node);
        for (const std::string& derived : node.derived) {
            graph.edges.push_back({name, derived, ""});
        }
    }
    return graph;
}

Graph RelationGraph(ILXConfigFactory& factory, const XTypeNodes& types) {
    Graph graph{"Relations", {}, {}};
    for (const auto& relation : LXList<ILXParentChild, ILXParentChildEnum>(
             "GetParentChildEnum", [&](auto** out) { return factory.GetParentChildEnum(nullptr, nullptr, out); })) {
        Graph::Edge edge{LXTextOf(*relation, XProperty::ParentName), LXTextOf(*relation, XProperty::ChildName),
                         LXTextOf(*relation, XProperty::ChildList)};
        for (const std::string* const end : {&edge.from, &edge.to}) {
            const auto type = types.find(*end);
            graph.nodes.emplace(*end, type != types.end() ? &type->second : nullptr);
        }
        graph.edges.push_back(std::move(edge));
    }
    return graph;
}

/// The part of a graph that can be reached from a node.
Graph Below(const Graph& graph, const std::string& root) {
    std::vector<std::string> names;
    for (const auto& [name, type] : graph.nodes) {
        names.push_back(name);
    }
    LXExpectThat(graph.nodes.contains(root), "\"" + root + "\" is not in the graph" + LXDidYouMean(root, names));
    Graph below{graph.title + " below " + root, {}, {}};
    std::vector<std::string> waiting = {root};
    while (!waiting.empty()) {
        const std::string name = std::move(waiting.back());
        waiting.pop_back();
        if (below.nodes.emplace(name, graph.nodes.at(name)).second) {
            for (const Graph::Edge& edge : graph.edges) {
                if (edge.from == name) {
                    below.edges.push_back(edge);
                    waiting.push_back(edge.to);
                }
            }
        }
    }
    return below;
}

XJson Document(const Graph& graph) {
    XJson nodes = XJson::array();
    for (const auto& [name, type] : graph.nodes) {
        nodes.push_back({{"name", name},
                         {"label", type != nullptr ? type->label : ""},
                         {"listed", type != nullptr && type->listed}});
    }
    XJson edges = XJson::array();
    for (const Graph::Edge& edge : graph.edges) {
        edges.push_back({{"from", edge.from}, {"to", edge.to}, {"list", edge.label}});
    }
    return {{"title", graph.title}, {"nodes", std::move(nodes)}, {"edges", std::move(edges)}};
}

/// A quoted text for Graphviz.
std::string Quoted(const std::string& text) {
    return "\"" + LXReplaced(LXReplaced(text, "\\", "\\\\"), "\"", "\\\"") + "\"";
}

std::string Dot(const Graph& graph) {
    std::string dot =
        "digraph " + Quoted(graph.title) + " {\n  rankdir=LR;\n  node [shape=box, fontname=sans-serif];\n";
    for (const auto& [name, type] : graph.nodes) {
        const bool hasLabel = type != nullptr && !type->label.empty() && type->label != name;
        const std::string label = hasLabel ? LXShown(name) + "\n" + LXShown(type->label) : LXShown(name);
        dot += "  " + Quoted(LXShown(name)) + " [label=" + LXReplaced(Quoted(label), "\n", "\\n") +
               (type != nullptr && !type->listed ? ", style=dashed];\n" : "];\n");
    }
    for (const Graph::Edge& edge : graph.edges) {
        dot += "  " + Quoted(LXShown(edge.from)) + " -> " + Quoted(LXShown(edge.to)) +
               (edge.label.empty() ? ";\n" : " [label=" + Quoted(LXShown(edge.label)) + "];\n");
    }
    return dot + "}\n";
}

class GraphCommand {
public:
    void Declare(CLI::App& app) {
        app.add_option("WHAT", m_what, "types or relations")->required()->check(CLI::IsMember({"types", "relations"}));
        app.add_option("--root", m_root, "Only this type and the types below it");
        app.add_flag("--html", m_html, "Write an HTML page with the types and all their parts instead of a graph");
        app.add_option("--output", m_file, "The file to write; standard output by default");
    }
    int Run(XRun& run) const {
        LXExpectThat(!run.Options().json || (!m_html && m_file.empty()), "--json excludes --html and --output");
        ILXConfigFactory& factory = run.Session().Cached();
        const XTypeNodes types = LXTypeNodes(factory);
        Graph graph = m_what == "types" ? TypeGraph(types) : RelationGraph(factory, types);
        if (!m_root.empty()) { graph = Below(graph, m_root); }
        if (run.Options().json) { return run.Answer(Document(graph)); }
        LXWriteText(m_file, m_html ? Page(run, graph).Html() : Dot(graph));
        if (m_file.empty()) { return ExitOk; }
        return run.Answer({{"file", m_file}, {"types", graph.nodes.size()}, {"edges", graph.edges.size()}});
    }

private:
    /// The page with the whole configuration, or with the graph's types only.
    XPageData Page(XRun& run, const Graph& graph) const {
        XPageData page(run.Session().Cached(), LXConfigurationName(run.Options().server));
        page.Set("view", m_what);
        if (m_root.empty()) { return page; }
        std::vector<std::string> names;
        for (const auto& [name, type] : graph.nodes) {
            names.push_back(name);
        }
        page.Keep(names);
        page.Set("root", m_root);
        return page;
    }

    std::string m_what;
    std::string m_root;
    std::string m_file;
    bool m_html = false;
};
} // namespace

void LXAddGraphCommand(XCommands& commands) {
    commands.Add<GraphCommand>("graph", "Types or relations as a graph, for Graphviz or a browser");
}
