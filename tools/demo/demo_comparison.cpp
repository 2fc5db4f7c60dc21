// SPDX-License-Identifier: MIT
//
// Sends the same requests to the server and to a cache in front of it. Calls take the time of calls to another process,
// or have an artificial delay that simulates a network.
#include "demo_sections.h"

#include <functional>

namespace {
using Answers = std::vector<std::string>;

/// A request of an application. It uses only the config factory's interface, which the cache and the server share.
struct Request {
    const char* name;
    void (*run)(ILXConfigFactory& factory, Answers& answers);
};

constexpr const char* Types[] = {"PumpCentrifugal", "MotorInduction",     "ControlValve", "VesselVertical",
                                 "PipeLine",        "ExchangerShellTube", "Tank",         "TransmitterFlow",
                                 "CablePower",      "CompressorScrew"};
constexpr const char* Browsers[] = {"ProjectTree", "FunctionalTree", "SearchList"};

XLXComPtr<ILXType> Type(ILXConfigFactory& factory, const char* name) {
    XLXComPtr<ILXType> type;
    LXExpect(factory.GetType(LXBstr(name).Get(), nullptr, type.Put()), "GetType");
    return type;
}

std::vector<XLXComPtr<ILXAttribute>> Attributes(ILXType& type, LONG mask) {
    return LXList<ILXAttribute, ILXAttributeEnum>("GetDisplayAttributeEnum",
                                                  [&](auto** out) { return type.GetDisplayAttributeEnum(mask, out); });
}

void ReadTypes(ILXConfigFactory& factory, Answers& answers) {
    for (const char* const name : Types) {
        const auto type = Type(factory, name);
        for (const int member : {XProperty::TypeName, XProperty::TypeLabel, XProperty::TypeTable}) {
            answers.push_back(LXTextOf(*type, member));
        }
    }
}

void ReadPagesAndGroups(ILXConfigFactory& factory, Answers& answers) {
    for (const char* const name : Types) {
        const auto type = Type(factory, name);
        for (const auto& page :
             LXList<ILXPage, ILXPageEnum>("GetPageEnum", [&](auto** out) { return type->GetPageEnum(out); })) {
            answers.push_back(LXTextOf(*page, XProperty::PageLabel));
        }
        for (const auto& group :
             LXList<ILXGroup, ILXGroupEnum>("GetGroupEnum", [&](auto** out) { return type->GetGroupEnum(out); })) {
            answers.push_back(LXTextOf(*group, XProperty::GroupLabel));
            answers.push_back(LXTextOf(*group, XProperty::GroupPage));
        }
    }
}

void ReadAttributes(ILXConfigFactory& factory, Answers& answers) {
    for (const auto& attribute : Attributes(*Type(factory, DemoType), 0)) {
        for (const int member : {XProperty::AttributeName, XProperty::Label, XProperty::Unit}) {
            answers.push_back(LXTextOf(*attribute, member));
        }
    }
}

void ReadEditorAttributes(ILXConfigFactory& factory, Answers& answers) {
    constexpr LONG Editor = 1;
    for (std::size_t i = 1; i < 5; ++i) {
        for (const auto& attribute : Attributes(*Type(factory, Types[i]), Editor)) {
            answers.push_back(LXTextOf(*attribute, XProperty::Label));
        }
    }
}

void ReadEditors(ILXConfigFactory& factory, Answers& answers) {
    for (const char* const name : Types) {
        const auto type = Type(factory, name);
        for (const char* const browser : Browsers) {
            XLXComPtr<ILXConfObjEditor> editor;
            const HRESULT result = type->GetDefaultEditor(LXBstr(browser).Get(), editor.Put());
            answers.push_back(result == S_OK ? LXTextOf(*editor, XProperty::ProgId) : LXResultName(result));
        }
    }
}

void ReadFormats(ILXConfigFactory& factory, Answers& answers) {
    constexpr LONG PrintableOnes = 8;
    for (const auto& attribute : Attributes(*Type(factory, DemoType), PrintableOnes)) {
        XLXComPtr<ILXFormat> format;
        const HRESULT result = attribute->GetFormat(0, format.Put());
        answers.push_back(result == S_OK ? LXTextOf(*format, XProperty::Label) : LXResultName(result));
    }
}

constexpr Request Requests[] = {{"10 types, 3 properties each", ReadTypes},
                                {"their pages and groups", ReadPagesAndGroups},
                                {"all attributes of a type, 3 properties each", ReadAttributes},
                                {"the editor's attributes of 4 types", ReadEditorAttributes},
                                {"default editor of 10 types in 3 browsers", ReadEditors},
                                {"formats of a type's printable attributes", ReadFormats}};

/// The columns of the table for one way to run the requests, with totals.
class Column {
public:
    void Add(const XMeasured& measured) {
        m_calls += measured.calls.Total();
        m_milliseconds += measured.milliseconds;
    }
    unsigned long long Calls() const { return m_calls; }
    double Milliseconds() const { return m_milliseconds; }

private:
    unsigned long long m_calls = 0;
    double m_milliseconds = 0;
};

void AddCells(std::vector<std::string>& row, unsigned long long calls, double milliseconds) {
    row.push_back(std::to_string(calls));
    row.push_back(LXOneDecimal(milliseconds));
}

std::string Ratio(double without, double with) { return with > 0 ? LXOneDecimal(without / with) : "-"; }

void PrintResult(XToolOutput& output, XToolTable& table, const Column& without, const Column& first,
                 const Column& again) {
    std::vector<std::string> row = {"total"};
    for (const Column* const column : {&without, &first, &again}) {
        AddCells(row, column->Calls(), column->Milliseconds());
    }
    table.Rule();
    table.Row(std::move(row));
    output.Table(table);
    output.Line();
    output.Line("First time, including start-up: " +
                Ratio(static_cast<double>(without.Calls()), static_cast<double>(first.Calls())) +
                " times fewer calls, " + Ratio(without.Milliseconds(), first.Milliseconds()) +
                " times faster. Again: no calls.");
}
} // namespace

void LXCompare(XToolOutput& output, const XToolComponent& component, std::unique_ptr<XToolServer> server,
               std::chrono::microseconds delay) {
    const std::string added = LXOneDecimal(static_cast<double>(delay.count()) / 1000) + " ms";
    output.Section("The same requests to the server directly and through the cache, " +
                   (server->IsLocal()   ? added + " a server call"
                    : delay.count() > 0 ? "each call to another process, with " + added + " added"
                                        : "each call to another process"));
    XDemoSession session(component, std::move(server));
    session.Server().SetDelay(delay);
    XToolTable table({"Request", ">Directly: calls", ">ms", ">Cached: calls", ">ms", ">Again: calls", ">ms"});
    Column without;
    Column first;
    Column again;
    first.Add(session.StartAsClient());
    table.Row({"start-up of the cache", "", "", std::to_string(first.Calls()), LXOneDecimal(first.Milliseconds())});
    {
        const auto direct = session.Server().ConfigFactory();
        const auto cached = session.Factory();
        for (const Request& request : Requests) {
            Answers answers[3];
            const XMeasured measured[] = {session.Measure([&] { request.run(*direct, answers[0]); }),
                                          session.Measure([&] { request.run(*cached, answers[1]); }),
                                          session.Measure([&] { request.run(*cached, answers[2]); })};
            LXExpectThat(answers[0] == answers[1] && answers[0] == answers[2] && !answers[0].empty(),
                         std::string("the cache's answers differ from the server's: ") + request.name);
            LXExpectThat(measured[2].calls.Total() == 0,
                         "the repetition made server calls: " + measured[2].calls.Text());
            without.Add(measured[0]);
            first.Add(measured[1]);
            again.Add(measured[2]);
            std::vector<std::string> row = {request.name};
            for (const XMeasured& one : measured) {
                AddCells(row, one.calls.Total(), one.milliseconds);
            }
            table.Row(std::move(row));
        }
    }
    PrintResult(output, table, without, first, again);
    session.Server().SetDelay(std::chrono::microseconds(0));
    session.Finish();
}
