// SPDX-License-Identifier: MIT
//
// Changes on the server, and how the cache is notified of them.
#include "LXError32.h"
#include "demo_sections.h"

#include <mutex>
#include <thread>

namespace {
/// Records the component's log entries about change notifications.
class Listener {
public:
    Listener() { LXErrorSetLogSink(&Listener::Take, this, (1U << LX_LOG_UPDATE) | (1U << LX_LOG_INVALIDATE)); }
    ~Listener() { LXErrorSetLogSink(nullptr, nullptr, 1U << LX_LOG_ERROR); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// The data id of the last notification.
    std::string DataId() const {
        const std::lock_guard lock(m_mutex);
        const auto begin = m_update.find('\'');
        return begin == std::string::npos ? m_update
                                          : m_update.substr(begin + 1, m_update.find('\'', begin + 1) - begin - 1);
    }
    /// The aspects that the last notification made stale.
    std::string Stale() const {
        const std::lock_guard lock(m_mutex);
        return m_stale;
    }
    /// Whether the last notification arrived on a thread other than the caller's.
    bool CameOnAnotherThread() const {
        const std::lock_guard lock(m_mutex);
        return m_thread != std::this_thread::get_id();
    }

private:
    static void STDMETHODCALLTYPE Take(const LXLogEntry* entry, void* context) {
        auto& self = *static_cast<Listener*>(context);
        const std::lock_guard lock(self.m_mutex);
        if (entry->eCategory == LX_LOG_UPDATE) {
            self.m_update = LXToUtf8(entry->pszText);
            self.m_stale.clear();
            self.m_thread = std::this_thread::get_id();
        } else {
            self.m_stale += (self.m_stale.empty() ? "" : ", ") + LXToUtf8(entry->pszText);
        }
    }

    mutable std::mutex m_mutex; // guards the members below
    std::string m_update;
    std::string m_stale;
    std::thread::id m_thread;
};

void PrintNotification(XToolOutput& output, const XDemoSession& session, const XNotification& sent,
                       const Listener& listener) {
    LXExpect(sent.result, "the client's DataObjectChanged");
    LXExpectThat(sent.id != 0 && sent.clients == 1, "the notification did not reach the client");
    LXExpectThat(session.Server().IsLocal() != listener.CameOnAnotherThread(),
                 "the notification came on an unexpected thread");
    LXExpectThat(!listener.Stale().empty(), "the notification made nothing stale");
    output.Line("notification   id " + std::to_string(sent.id) + ", data id " + listener.DataId() +
                (session.Server().IsLocal() ? "" : "; it came on another thread"));
    output.Line("stale          " + listener.Stale() + "; nothing was read again");
}

/// An edit that sets the attribute's label.
std::string LabelEdit(const std::string& label) {
    return std::string(R"({"edit":"SetAttributeProperty","type":")") + DemoAttributeOwner + R"(","name":")" +
           DemoAttribute + R"(","index":)" + std::to_string(XProperty::Label) + R"(,"value":")" + label + R"("})";
}

void EditAProperty(XToolOutput& output, XDemoSession& session, const Listener& listener) {
    const auto type = session.CachedType(DemoType);
    XLXComPtr<ILXAttribute> attribute;
    LXExpect(type->GetAttribute(LXBstr(DemoAttribute).Get(), attribute.Put()), "GetAttribute");
    const std::string before = LXTextOf(*attribute, XProperty::Label);
    output.Line(std::string("A property: the label of ") + DemoAttributeOwner + "." + DemoAttribute);
    output.Line("before         \"" + before + "\"");

    const std::string wanted = "Rated volume flow";
    XNotification sent;
    const XMeasured edit = session.Measure([&] { sent = session.Edit(LabelEdit(wanted), LabelEdit(before)); });
    PrintNotification(output, session, sent, listener);
    LXExpectThat(edit.calls.Total() == 0, "the notification made the cache call the server");

    std::string after;
    const auto read = [&] { after = LXTextOf(*attribute, XProperty::Label); };
    const XMeasured first = session.Measure(read);
    LXExpectThat(after == wanted && before != wanted, "the cache gives \"" + after + "\"");
    output.Line("after          \"" + after + "\" through the same object; server calls: " + first.calls.Text());
    const XMeasured second = session.Measure(read);
    LXExpectThat(second.calls.Total() == 0, "the value was read twice");
    output.Line("read again     \"" + after + "\"; server calls: 0");
}

void EditTheStructure(XToolOutput& output, XDemoSession& session, const Listener& listener) {
    const auto type = session.CachedType(DemoType);
    const auto added = LXBstr("VibrationLimit");
    XLXComPtr<ILXAttribute> attribute;
    output.Line();
    output.Line("The structure: a new attribute VibrationLimit of the base type Equipment");
    LXExpect(type->GetAttribute(added.Get(), attribute.Put()), "GetAttribute", S_FALSE);
    output.Line("before         not found (S_FALSE)");
    const XNotification sent =
        session.Edit(R"({"edit":"AddAttribute","type":"Equipment","name":"VibrationLimit","group":2})",
                     R"({"edit":"RemoveAttribute","type":"Equipment","name":"VibrationLimit"})");
    PrintNotification(output, session, sent, listener);
    const XMeasured cost =
        session.Measure([&] { LXExpect(type->GetAttribute(added.Get(), attribute.Put()), "GetAttribute"); });
    output.Line("after          " + LXTextOf(*attribute, XProperty::AttributeName) + " in group " +
                std::to_string(LXNumberOf(*attribute, XProperty::AttributeGroup)) +
                ", inherited by the same type object; server calls: " + std::to_string(cost.calls.Total()));
}
} // namespace

void LXShowEdit(XToolOutput& output, XDemoSession& session) {
    output.Section("Edits on the server");
    const Listener listener;
    EditAProperty(output, session, listener);
    EditTheStructure(output, session, listener);
}

void LXShowSeparateCallback(XToolOutput& output, XDemoSession& session) {
    output.Section("The same with a separate callback object");
    output.Line("XCfgCacheCallback, from a separate DLL, receives the server's calls and forwards them");
    session.StartWithSeparateCallback();
    const Listener listener;
    EditAProperty(output, session, listener);
}
