// SPDX-License-Identifier: MIT
//
// Rules for notifications, and for the references to callbacks.
#include "XApartment.h"
#include "XNotificationRule.h"
#include "XVerification.h"
#include "XVerifierCallback.h"

#include <algorithm>
#include <future>
#include <thread>

namespace {
constexpr const char* DataType = "cfc_specific";
constexpr LONG AllModes = 0x1FFF;
constexpr ULONG AdvicesOfChanges = 0x100;

constexpr XRule NeedAnEdit[] = {XRule::NotifySent,     XRule::NotifyEveryClient, XRule::NotifyAfter,
                                XRule::NotifyIds,      XRule::NotifyDataId,      XRule::NotifyConcerns,
                                XRule::NotifyCallable, XRule::CallbackDropped,   XRule::CallbackSilent};

/// Waits until a condition holds; returns false on timeout.
template <class Condition> bool WaitFor(std::chrono::milliseconds limit, Condition&& condition) {
    const auto until = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) { return false; }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

bool IsNumber(const std::string& text) {
    const std::size_t sign = text.starts_with("-") ? 1 : 0;
    return text.size() > sign && text.find_first_not_of("0123456789", sign) == std::string::npos;
}

/// The error in a data id; empty if it is valid.
std::string FaultOf(const std::string& dataId) {
    std::vector<std::string> fields{""};
    for (const char c : dataId) {
        c == '/' ? (void)fields.emplace_back() : fields.back().push_back(c);
    }
    const std::set<std::string> kinds{"objects", "properties", "pc", "searchable"};
    if (fields.size() != 4) { return std::to_string(fields.size()) + " fields instead of 4"; }
    if (!kinds.contains(fields[0])) { return "the kind is " + LXQuoted(fields[0]); }
    if (!IsNumber(fields[2])) { return "the sub number is " + LXQuoted(fields[2]); }
    if (!IsNumber(fields[3])) { return "the update mode is " + LXQuoted(fields[3]); }
    return std::atol(fields[3].c_str()) > AllModes ? "the update mode has unknown bits" : "";
}

/// A client that is registered with the server.
class Client {
public:
    Client(XVerification& verification, const char* name)
        : m_verification(verification), m_name(name), m_callback(XVerifierCallback::New()) {
        const HRESULT result = Call("RegisterCallback", [&](ILXDataUpdate& update) {
            return update.RegisterCallback(LXBstr("verify-server").Get(), GetCurrentProcessId(), &m_callback, &m_id);
        });
        m_registered = Expect(result, "RegisterCallback");
        for (const char* const type : {"cfc", DataType}) {
            if (m_registered) { Expect(Enable(m_id, type), "EnableAdvicesDataType"); }
        }
    }
    /// Calls the server directly, because XServerCalls throws after GiveUp. A hang here is not detected.
    ~Client() {
        if (m_registered) { m_verification.Server().update->UnregisterCallback(m_id); }
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    XVerifierCallback& Callback() const { return m_callback; }
    LONG Id() const { return m_id; }
    bool IsRegistered() const { return m_registered; }
    std::string Name() const { return m_name; }

    HRESULT Enable(LONG id, const char* type) const {
        return Call("EnableAdvicesDataType", [&](ILXDataUpdate& update) {
            return update.EnableAdvicesDataType(id, LXBstr(type).Get(), 1, AdvicesOfChanges);
        });
    }
    HRESULT Unregister(LONG id) const {
        return Call("UnregisterCallback", [id](ILXDataUpdate& update) { return update.UnregisterCallback(id); });
    }
    HRESULT Unregister() {
        const HRESULT result = Unregister(m_id);
        m_registered = false;
        return result;
    }
    /// The notifications after the first `count`, without those of other data types.
    std::vector<XHeard> HeardSince(std::size_t count) const {
        std::vector<XHeard> heard = m_callback.Heard();
        heard.erase(heard.begin(), heard.begin() + static_cast<std::ptrdiff_t>(std::min(count, heard.size())));
        std::erase_if(heard, [](const XHeard& one) { return one.dataType != DataType; });
        return heard;
    }

private:
    template <class F> HRESULT Call(const char* method, F&& call) const {
        return m_verification.Calls().Make(method, std::string(method) + "(" + m_name + ")",
                                           [&] { return call(*m_verification.Server().update); });
    }
    bool Expect(HRESULT result, const char* method) {
        return m_verification.Findings().Check(result == S_OK, XRule::Offered, std::string(method) + "(" + m_name + ")",
                                               LXResultName(result));
    }

    XVerification& m_verification;
    const char* const m_name;
    XVerifierCallback& m_callback;
    LONG m_id = 0;
    bool m_registered = false;
};

/// Verifies the notifications of a server.
class NotificationVerifier {
public:
    explicit NotificationVerifier(XVerification& verification)
        : m_verification(verification),
          m_findings(verification.Findings()),
          m_first(verification, "first client"),
          m_second(verification, "second client"),
          m_gone(verification, "client that is gone") {}

    ~NotificationVerifier() { m_first.Callback().Inside({}); }
    NotificationVerifier(const NotificationVerifier&) = delete;
    NotificationVerifier& operator=(const NotificationVerifier&) = delete;

    void Verify() {
        if (!m_first.IsRegistered() || !m_second.IsRegistered() || !m_gone.IsRegistered()) {
            return SkipEdits("clients cannot be registered");
        }
        VerifyUnknown(m_first.Id() + m_second.Id() + m_gone.Id() + 12345);
        VerifyReferences(XRule::CallbackKept, m_first.Callback().References() > 0, "RegisterCallback(first client)");
        if (m_verification.Server().edit) {
            VerifyEdits();
        } else {
            SkipEdits("nothing can change the server: there is neither --edit-command nor LXEditServer in its library");
        }
        if (m_first.IsRegistered()) { EndFirst(); }
        VerifyReferences(
            XRule::CallbackReleased,
            WaitFor(m_verification.Options().silence, [&] { return m_first.Callback().References() == 0; }),
            "UnregisterCallback(first client)");
        m_findings.Check(FAILED(m_first.Unregister(m_first.Id())), XRule::UnknownClient,
                         "UnregisterCallback(first client), the second time", "it is not refused");
        m_second.Unregister();
        m_gone.Unregister(); // any result: the server may have dropped this client
    }

private:
    /// Results of calls that a client made from inside a notification.
    struct Inside {
        std::mutex mutex;
        std::optional<XState> here;
        std::optional<XState> elsewhere;
        bool taken = false;
    };

    void SkipEdits(const std::string& reason) {
        for (const XRule rule : NeedAnEdit) {
            m_findings.NotTested(rule, reason);
        }
    }

    void VerifyUnknown(LONG unknown) {
        const std::string id = std::to_string(unknown);
        m_findings.Check(FAILED(m_first.Unregister(unknown)), XRule::UnknownClient, "UnregisterCallback(" + id + ")",
                         "it is not refused");
        m_findings.Check(FAILED(m_first.Enable(unknown, DataType)), XRule::UnknownClient,
                         "EnableAdvicesDataType(" + id + ")", "it is not refused");
    }

    void VerifyReferences(XRule rule, bool kept, const std::string& call) {
        if (!m_verification.Server().inProcess) { return m_findings.NotTested(rule, XVerification::BehindProxies); }
        m_findings.Check(kept, rule, call,
                         std::to_string(m_first.Callback().References()) + " references to the callback are held");
    }

    void VerifyEdits() {
        m_gone.Callback().Answer(RPC_E_DISCONNECTED);
        const auto inside = std::make_shared<Inside>(); // shared, because a late notification may still use it
        m_first.Callback().Inside(
            [inside, verification = m_verification.shared_from_this()] { Look(*verification, *inside); });
        const std::optional<XState> before = LXStateOf(m_verification);
        const bool sent = Edit("the first edit");
        m_first.Callback().Inside({});
        if (!sent) { return; }
        const std::optional<XState> after = LXStateOf(m_verification);
        if (before && after) { VerifyChange(*before, *after, *inside); }
        const std::size_t heardByGone = m_gone.Callback().Count();
        if (!Edit("the second edit")) { return; }
        if (heardByGone != 0) {
            m_findings.Check(m_gone.Callback().Count() == heardByGone, XRule::CallbackDropped, "the second edit",
                             "the client that answered RPC_E_DISCONNECTED is called again");
        }
        VerifyIds(m_first);
        VerifyIds(m_second);
        VerifySilence();
    }

    static void Look(XVerification& verification, Inside& inside) {
        ++verification.insideNotifications;
        auto elsewhere = std::async(std::launch::async, [&] {
            const XApartment apartment;
            return LXStateOf(verification);
        });
        auto there = elsewhere.get();
        auto here = LXStateOf(verification);
        --verification.insideNotifications;
        const std::lock_guard lock(inside.mutex);
        inside.here = std::move(here);
        inside.elsewhere = std::move(there);
        inside.taken = true;
    }

    /// Makes a change and waits for its notifications. Returns false if no client was notified.
    bool Edit(const std::string& which) {
        const std::size_t first = m_first.Callback().Count();
        const std::size_t second = m_second.Callback().Count();
        const bool firstListens = m_first.IsRegistered();
        const Client& sure = firstListens ? m_first : m_second;
        const std::size_t before = firstListens ? first : second;
        m_verification.Calls().Make(
            "", which, [&] { return m_verification.Server().edit(), S_OK; }, 3);
        const auto limit = m_verification.Options().notification;
        const bool sent = WaitFor(limit, [&] { return !sure.HeardSince(before).empty(); });
        m_findings.Check(sent, XRule::NotifySent, which,
                         "the " + sure.Name() + " received no notification of the type cfc_specific");
        if (!sent) { return false; }
        std::this_thread::sleep_for(m_verification.Options().silence);
        m_findings.Check(!m_second.HeardSince(second).empty(), XRule::NotifyEveryClient, which,
                         "the second client received no notification");
        for (const XHeard& heard : sure.HeardSince(before)) {
            const std::string fault = FaultOf(heard.dataId);
            m_findings.Check(fault.empty(), XRule::NotifyDataId, which, LXQuoted(heard.dataId) + ": " + fault);
        }
        m_heard = sure.HeardSince(before);
        return true;
    }

    void VerifyChange(const XState& before, const XState& after, Inside& inside) {
        const std::lock_guard lock(inside.mutex);
        m_findings.Check(inside.taken && inside.here && inside.elsewhere, XRule::NotifyCallable,
                         "GetTypeArrayEx(15) inside the notification", "the types cannot be read");
        if (before == after) {
            for (const XRule rule : {XRule::NotifyAfter, XRule::NotifyConcerns}) {
                m_findings.NotTested(rule, "the edit changed nothing that bulk reads return");
            }
            return;
        }
        for (const auto* const seen : {&inside.here, &inside.elsewhere}) {
            if (*seen) {
                m_findings.Check(**seen == after, XRule::NotifyAfter, "GetTypeArrayEx(15) inside the notification",
                                 "not yet changed: " + LXDifference(**seen, after));
            }
        }
        VerifyConcerned(before, after);
    }

    void VerifyConcerned(const XState& before, const XState& after) {
        XAspectSet concerned;
        std::string ids;
        for (const XHeard& heard : m_heard) {
            const XLXText text = LXFromUtf8(heard.dataId);
            const XDataId id = XDataId::Parse(text);
            XNotificationRule::Concerned(id, id.mode).ForEach([&](XAspect aspect) { concerned.Add(aspect); });
            ids += (ids.empty() ? "" : ", ") + LXQuoted(heard.dataId);
        }
        LXChanged(before, after).ForEach([&](XAspect aspect) {
            m_findings.Check(concerned.Has(aspect), XRule::NotifyConcerns, "the first edit",
                             LXDifference(before, after) + ", but " + ids + " does not concern " +
                                 XNotificationRule::NameOf(aspect));
        });
    }

    void VerifyIds(const Client& client) {
        ULONG last = 0;
        for (const XHeard& heard : client.HeardSince(0)) {
            m_findings.Check(heard.id > last, XRule::NotifyIds, "DataObjectChanged(" + client.Name() + ")",
                             "id " + std::to_string(heard.id) + " after id " + std::to_string(last));
            last = heard.id;
        }
    }

    void EndFirst() {
        const HRESULT result = m_first.Unregister();
        m_findings.Check(result == S_OK, XRule::Offered, "UnregisterCallback(first client)", LXResultName(result));
    }

    void VerifySilence() {
        EndFirst();
        const std::size_t heard = m_first.Callback().Count();
        if (Edit("the edit after the first client has unregistered")) {
            m_findings.Check(m_first.Callback().Count() == heard, XRule::CallbackSilent,
                             "the edit after UnregisterCallback(first client)", "the first client is called");
        }
    }

    XVerification& m_verification;
    XFindings& m_findings;
    Client m_first;
    Client m_second;
    Client m_gone;
    std::vector<XHeard> m_heard; ///< notifications of the last edit
};
} // namespace

void LXVerifyNotifications(XVerification& verification) {
    if (!verification.Server().update) {
        for (const XRule rule : {XRule::UnknownClient, XRule::CallbackKept, XRule::CallbackReleased}) {
            verification.Findings().NotTested(rule, "the server has no ILXDataUpdate");
        }
        for (const XRule rule : NeedAnEdit) {
            verification.Findings().NotTested(rule, "the server has no ILXDataUpdate");
        }
        return;
    }
    NotificationVerifier(verification).Verify();
}
