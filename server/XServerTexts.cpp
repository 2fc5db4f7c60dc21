// SPDX-License-Identifier: MIT
#include "XServerTexts.h"

#include "XRandomEdits.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>

namespace {
using XJson = nlohmann::ordered_json;

[[noreturn]] void RefuseText(const std::string& what) { throw std::invalid_argument(what); }

/// Reads a JSON text; errors of the parser and the accessors become the reason of the refusal.
template <class Read> auto Reading(std::string_view json, Read&& read) {
    try {
        return read(XJson::parse(json));
    } catch (const nlohmann::json::exception& error) { RefuseText(error.what()); }
}

/// The arguments of an edit by name.
class Arguments {
public:
    explicit Arguments(const XJson& json) : m_json(json) {}

    std::string Text(const char* name) const {
        const XJson& value = m_json.at(name);
        return value.is_string() ? value.get<std::string>() : Wrong<std::string>(name, "a text");
    }
    std::string TextOr(const char* name, const char* otherwise) const {
        return m_json.contains(name) ? Text(name) : otherwise;
    }
    int Number(const char* name, int otherwise = 0) const {
        if (!m_json.contains(name)) { return otherwise; }
        const XJson& value = m_json.at(name);
        return IsNumber(value) ? value.get<int>() : Wrong<int>(name, "a whole number");
    }
    bool Flag(const char* name, bool otherwise = false) const {
        if (!m_json.contains(name)) { return otherwise; }
        const XJson& value = m_json.at(name);
        return value.is_boolean() ? value.get<bool>() : Wrong<bool>(name, "true or false");
    }
    XModelValue Value() const {
        const XJson& value = m_json.at("value");
        if (value.is_number()) {
            return IsNumber(value) ? XModelValue(value.get<int>()) : XModelValue(value.get<double>());
        }
        return value.is_string()    ? XModelValue(value.get<std::string>())
               : value.is_boolean() ? XModelValue(value.get<bool>())
               : value.is_null()    ? XModelValue()
                                    : Wrong<XModelValue>("value", "null, a boolean, a number or a text");
    }

private:
    static bool IsNumber(const XJson& value) {
        return value.is_number_integer() && value >= std::numeric_limits<std::int32_t>::min() &&
               value <= std::numeric_limits<std::int32_t>::max();
    }
    template <class T> [[noreturn]] static T Wrong(const char* name, const char* wanted) {
        RefuseText("edit: \"" + std::string(name) + "\" must be " + wanted);
    }

    const XJson& m_json;
};

using A = const Arguments&;
using E = XServerEdits&;

struct EditText {
    const char* name;
    std::vector<std::string> arguments; // with a "?" at the end: optional
    XNotification (*apply)(E edits, A a);
};

/// Random edits from a seed. The returned notification is not that of a single edit.
XNotification RandomEdits(E edits, A arguments) {
    LXRandomEdits(edits, static_cast<unsigned>(arguments.Number("seed")),
                  static_cast<unsigned>(arguments.Number("count")),
                  arguments.Flag("notify", true) ? XNotify::Here : XNotify::No);
    return {};
}

// clang-format off
const std::vector<EditText>& Edits()
{
    static const std::vector<EditText> edits = {
    {"AddType", {"name", "base?"}, [](E e, A a) { return e.AddType(a.Text("name"), a.TextOr("base", "")); }},
    {"RemoveType", {"name"}, [](E e, A a) { return e.RemoveType(a.Text("name")); }},
    {"SetTypeProperty", {"type", "index", "value"}, [](E e, A a) { return e.SetTypeProperty(a.Text("type"), a.Number("index"), a.Value()); }},
    {"SetTypeListed", {"type", "listed"}, [](E e, A a) { return e.SetTypeListed(a.Text("type"), a.Flag("listed")); }},

    {"AddAttribute", {"type", "name", "group?"}, [](E e, A a) { return e.AddAttribute(a.Text("type"), a.Text("name"), a.Number("group")); }},
    {"RemoveAttribute", {"type", "name"}, [](E e, A a) { return e.RemoveAttribute(a.Text("type"), a.Text("name")); }},
    {"SetAttributeProperty", {"type", "name", "index", "value"}, [](E e, A a) { return e.SetAttributeProperty(a.Text("type"), a.Text("name"), a.Number("index"), a.Value()); }},
    {"AddAttributeType", {"type", "attribute", "name"}, [](E e, A a) { return e.AddAttributeType(a.Text("type"), a.Text("attribute"), a.Text("name")); }},
    {"RemoveAttributeType", {"type", "attribute", "name"}, [](E e, A a) { return e.RemoveAttributeType(a.Text("type"), a.Text("attribute"), a.Text("name")); }},
    {"SetAttributeTypeProperty", {"type", "attribute", "name", "index", "value"}, [](E e, A a) { return e.SetAttributeTypeProperty(a.Text("type"), a.Text("attribute"), a.Text("name"), a.Number("index"), a.Value()); }},
    {"AddGroup", {"type", "number", "page?", "parentGroup?"}, [](E e, A a) { return e.AddGroup(a.Text("type"), a.Number("number"), a.Number("page"), a.Number("parentGroup")); }},
    {"RemoveGroup", {"type", "number"}, [](E e, A a) { return e.RemoveGroup(a.Text("type"), a.Number("number")); }},
    {"SetGroupProperty", {"type", "number", "index", "value"}, [](E e, A a) { return e.SetGroupProperty(a.Text("type"), a.Number("number"), a.Number("index"), a.Value()); }},
    {"AddPage", {"type", "number"}, [](E e, A a) { return e.AddPage(a.Text("type"), a.Number("number")); }},
    {"RemovePage", {"type", "number"}, [](E e, A a) { return e.RemovePage(a.Text("type"), a.Number("number")); }},
    {"SetPageProperty", {"type", "number", "index", "value"}, [](E e, A a) { return e.SetPageProperty(a.Text("type"), a.Number("number"), a.Number("index"), a.Value()); }},
    {"AddEditor", {"type", "progId", "browser", "default?", "defaultNew?"}, [](E e, A a) { return e.AddEditor(a.Text("type"), a.Text("progId"), a.Text("browser"), a.Flag("default"), a.Flag("defaultNew")); }},
    {"RemoveEditor", {"type", "progId"}, [](E e, A a) { return e.RemoveEditor(a.Text("type"), a.Text("progId")); }},
    {"SetEditorProperty", {"type", "progId", "index", "value"}, [](E e, A a) { return e.SetEditorProperty(a.Text("type"), a.Text("progId"), a.Number("index"), a.Value()); }},

    {"AddAttributeFormat", {"type", "attribute", "formatType"}, [](E e, A a) { return e.AddAttributeFormat(a.Text("type"), a.Text("attribute"), a.Number("formatType")); }},
    {"RemoveAttributeFormat", {"type", "attribute", "formatType"}, [](E e, A a) { return e.RemoveAttributeFormat(a.Text("type"), a.Text("attribute"), a.Number("formatType")); }},
    {"SetAttributeFormatProperty", {"type", "attribute", "formatType", "index", "value"}, [](E e, A a) { return e.SetAttributeFormatProperty(a.Text("type"), a.Text("attribute"), a.Number("formatType"), a.Number("index"), a.Value()); }},
    {"AddGroupFormat", {"type", "number"}, [](E e, A a) { return e.AddGroupFormat(a.Text("type"), a.Number("number")); }},
    {"RemoveGroupFormat", {"type", "number"}, [](E e, A a) { return e.RemoveGroupFormat(a.Text("type"), a.Number("number")); }},
    {"SetGroupFormatProperty", {"type", "number", "index", "value"}, [](E e, A a) { return e.SetGroupFormatProperty(a.Text("type"), a.Number("number"), a.Number("index"), a.Value()); }},
    {"AddGlobalSpecFormat", {"spec", "formatType"}, [](E e, A a) { return e.AddGlobalSpecFormat(a.Text("spec"), a.Number("formatType")); }},
    {"RemoveGlobalSpecFormat", {"spec", "formatType"}, [](E e, A a) { return e.RemoveGlobalSpecFormat(a.Text("spec"), a.Number("formatType")); }},
    {"SetGlobalSpecFormatProperty", {"spec", "formatType", "index", "value"}, [](E e, A a) { return e.SetGlobalSpecFormatProperty(a.Text("spec"), a.Number("formatType"), a.Number("index"), a.Value()); }},

    {"AddGlobalSpec", {"spec"}, [](E e, A a) { return e.AddGlobalSpec(a.Text("spec")); }},
    {"RemoveGlobalSpec", {"spec"}, [](E e, A a) { return e.RemoveGlobalSpec(a.Text("spec")); }},
    {"SetGlobalSpecProperty", {"spec", "index", "value"}, [](E e, A a) { return e.SetGlobalSpecProperty(a.Text("spec"), a.Number("index"), a.Value()); }},
    {"AddBrowserId", {"name"}, [](E e, A a) { return e.AddBrowserId(a.Text("name")); }},
    {"RemoveBrowserId", {"name"}, [](E e, A a) { return e.RemoveBrowserId(a.Text("name")); }},
    {"SetBrowserIdProperty", {"name", "index", "value"}, [](E e, A a) { return e.SetBrowserIdProperty(a.Text("name"), a.Number("index"), a.Value()); }},

    {"AddRelation", {"parent", "child", "list", "ppr?", "internal?"}, [](E e, A a) { return e.AddRelation(a.Text("parent"), a.Text("child"), a.Text("list"), a.Number("ppr"), a.Flag("internal")); }},
    {"RemoveRelation", {"parent", "child", "list"}, [](E e, A a) { return e.RemoveRelation(a.Text("parent"), a.Text("child"), a.Text("list")); }},
    {"SetRelationProperty", {"parent", "child", "list", "index", "value"}, [](E e, A a) { return e.SetRelationProperty(a.Text("parent"), a.Text("child"), a.Text("list"), a.Number("index"), a.Value()); }},
    {"AddPCInfo", {"parent", "child", "list", "browser", "new?"}, [](E e, A a) { return e.AddPCInfo(a.Text("parent"), a.Text("child"), a.Text("list"), a.Text("browser"), a.Flag("new")); }},
    {"RemovePCInfo", {"parent", "child", "list", "browser"}, [](E e, A a) { return e.RemovePCInfo(a.Text("parent"), a.Text("child"), a.Text("list"), a.Text("browser")); }},
    {"SetPCInfoProperty", {"parent", "child", "list", "browser", "index", "value"}, [](E e, A a) { return e.SetPCInfoProperty(a.Text("parent"), a.Text("child"), a.Text("list"), a.Text("browser"), a.Number("index"), a.Value()); }},

    {"RandomEdits", {"seed", "count", "notify?"}, [](E e, A a) { return RandomEdits(e, a); }},
    };
    return edits;
}
// clang-format on

bool MayBeLeftOut(const std::string& argument) { return argument.back() == '?'; }

const EditText& EditOf(const XJson& json) {
    if (!json.is_object() || !json.contains("edit") || !json.at("edit").is_string()) {
        RefuseText(R"(edit: an object with the key "edit" is needed)");
    }
    const auto name = json.at("edit").get<std::string>();
    const auto& edits = Edits();
    const auto found = std::find_if(edits.begin(), edits.end(), [&](const EditText& e) { return e.name == name; });
    if (found == edits.end()) { RefuseText("edit: there is no edit \"" + name + "\""); }
    return *found;
}

void CheckArguments(const EditText& edit, const XJson& json) {
    const auto& arguments = edit.arguments;
    for (const std::string& argument : arguments) {
        if (!MayBeLeftOut(argument) && !json.contains(argument)) {
            RefuseText(std::string(edit.name) + ": \"" + argument + "\" is missing");
        }
    }
    for (const auto& item : json.items()) {
        if (item.key() != "edit" && std::find(arguments.begin(), arguments.end(), item.key()) == arguments.end() &&
            std::find(arguments.begin(), arguments.end(), item.key() + "?") == arguments.end()) {
            RefuseText(std::string(edit.name) + ": there is no argument \"" + item.key() + "\"");
        }
    }
}
} // namespace

XNotification LXApplyEdit(XServerEdits edits, std::string_view json) {
    return Reading(json, [&edits](const XJson& parsed) {
        const EditText& edit = EditOf(parsed);
        CheckArguments(edit, parsed);
        return edit.apply(edits, Arguments(parsed));
    });
}

std::string LXEditUsage() {
    std::string usage;
    for (const EditText& edit : Edits()) {
        usage += edit.name;
        for (const std::string& argument : edit.arguments) {
            usage += " " + argument;
        }
        usage += '\n';
    }
    return usage;
}

std::string LXFormatNotification(const XNotification& sent) {
    return XJson({{"id", sent.id}, {"clients", sent.clients}, {"result", sent.result}}).dump();
}

XNotification LXParseNotification(std::string_view json) {
    return Reading(json, [](const XJson& parsed) {
        if (parsed.contains("refused")) { RefuseText(parsed.at("refused").get<std::string>()); }
        return XNotification{parsed.at("id").get<ULONG>(), parsed.at("clients").get<int>(),
                             parsed.at("result").get<HRESULT>()};
    });
}

std::string LXFormatRefusal(const std::string& reason) {
    return XJson({{"refused", reason}}).dump(-1, ' ', false, XJson::error_handler_t::replace);
}

std::string LXFormatCounts(const XCallCounts& counts) {
    XJson json = XJson::object();
    for (const auto& [name, calls] : counts.byName) {
        json[name] = calls;
    }
    return json.dump();
}

XCallCounts LXParseCounts(std::string_view json) {
    return Reading(json, [](const XJson& parsed) {
        XCallCounts counts;
        for (const auto& item : parsed.items()) {
            counts.byName.emplace(item.key(), item.value().get<unsigned long long>());
        }
        return counts;
    });
}

std::string LXFormatStatus(const XSampleServer& server) {
    XJson clients = XJson::array();
    for (const XRegisteredClient& client : server.Clients()) {
        clients.push_back({{"id", client.id}, {"computer", LXToUtf8(client.computer)}, {"process", client.process}});
    }
    const XServerObjectCount live = server.LiveObjects();
    return XJson({{"process", GetCurrentProcessId()},
                  {"clients", clients},
                  {"objects", live.objects},
                  {"references", live.references}})
        .dump();
}

XServerStatus LXParseStatus(std::string_view json) {
    return Reading(json, [](const XJson& parsed) {
        XServerStatus status;
        status.process = parsed.at("process").get<ULONG>();
        for (const XJson& client : parsed.at("clients")) {
            status.clients.push_back({client.at("id").get<LONG>(), client.at("computer").get<std::string>(),
                                      client.at("process").get<ULONG>()});
        }
        status.live = {parsed.at("objects").get<LONG>(), parsed.at("references").get<LONG>()};
        return status;
    });
}
