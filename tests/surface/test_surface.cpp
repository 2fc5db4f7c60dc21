// SPDX-License-Identifier: MIT
//
// Misuse of all objects that the component returns: each method of each interface of each kind of object, with null
// pointers and unusual values for each parameter in turn, at each stage of the manager's life. With the argument
// --server-mode the cache runs inside the server's process; that needs a separate run, because it turns the locks off.
#include "xcall.h"

#include "XModuleCount.h"

#include <algorithm>
#include <climits>
#include <map>

namespace {
/// The results that a method may return.
bool IsSensible(HRESULT result) {
    constexpr HRESULT known[] = {
        S_OK,          S_FALSE,       E_POINTER,      E_INVALIDARG,        E_NOTIMPL,         E_FAIL,
        E_NOINTERFACE, E_OUTOFMEMORY, E_ACCESSDENIED, DISP_E_TYPEMISMATCH, DISP_E_BADVARTYPE, CLASS_E_NOAGGREGATION};
    return std::find(std::begin(known), std::end(known), result) != std::end(known);
}

/// The methods that no object supports, and those that single kinds do not support either.
const std::map<std::string, std::string> Refused = {
    {"",
     "Clone Gets Sets GetProperties SetProperties dummy Reserved3 Reserved4 Reserved5 Reserved6 Reserved7 Reserved8 "
     "Reserved9 Reserved10 Reserved11 Reserved12 Reserved13 Reserved14 Reserved15 AddPCInfo RemovePCInfo "
     "AddPage RemovePage AddGroup RemoveGroup AddAttribute RemoveAttribute AddConfObjEditor RemoveConfObjEditor "
     "Copy GetTypeComponentData RemoveType GetPlanTypeEnum AddParentChild RemoveParentChild AddBrowserId "
     "RemoveBrowserId DeleteDatabase GetTypeArray GetTypeArrayByTypeName GetTypeArrayByTypeNameArray GetPCArray "
     "SetVersion GetTransientAttribute SetEntryLong GetEntryObject GetEntryObjectByLong"},
    {"browser id", "Set SetProperty"},
    {"transient PC info", "Set SetProperty"},
    {"transient attribute",
     "AddAttributeType RemoveAttributeType GetAttributeTypeEnum CreateFormat GetFormat DeleteFormat"},
};

bool IsRefused(const std::string& kind, const std::string& method) {
    const auto named = [&](const std::string& of) {
        const auto methods = Refused.find(of);
        return methods != Refused.end() && (" " + methods->second + " ").find(" " + method + " ") != std::string::npos;
    };
    return named("") || named(kind);
}

struct Place {
    std::string kind;
    XStage stage;
};

class Surface : public testing::TestWithParam<Place> {
protected:
    void AbuseMethod(const XMethod& method, void* face) {
        for (std::size_t i = 0; i < method.parameters.size(); ++i) {
            AbuseParameter(method, i, face);
        }
        {
            XCall call(*m_world, method);
            for (std::size_t i = 0; i < method.parameters.size(); ++i) {
                call[i].pointer = method.parameters[i].kind == XKind::Id ? call[i].pointer : nullptr;
                call[i].number = 0;
            }
            Check("all null", call, face);
        }
        XCall plain(*m_world, method);
        EXPECT_EQ(Check("plain", plain, face) == E_NOTIMPL, IsRefused(GetParam().kind, method.name)) << method.name;
    }

    void AbuseParameter(const XMethod& method, std::size_t parameter, void* face) {
        const XParameter& what = method.parameters[parameter];
        const auto with = [&](const char* label, auto&& change) {
            XCall call(*m_world, method);
            change(call);
            Check((std::string(what.name) + " " + label).c_str(), call, face);
        };
        const bool isCount =
            std::any_of(method.parameters.begin(), method.parameters.end(),
                        [&](const XParameter& other) { return other.count == static_cast<int>(parameter); });
        if (what.IsPointer()) {
            XCall call(*m_world, method);
            call[parameter].pointer = nullptr;
            Check("null ", call, face, &what);
        }
        for (std::size_t i = 0; what.role == XRole::In && what.count >= 0 && i < 6; ++i) {
            for (const int type : {+VT_EMPTY, +VT_BSTR, +VT_UNKNOWN, +VT_DISPATCH, 0x777}) {
                with("null element", [&](XCall& call) { call.SpoilElement(parameter, i, static_cast<VARTYPE>(type)); });
            }
        }
        if (what.kind == XKind::Number) {
            for (const int odd : {0, -1, INT_MIN, INT_MAX}) {
                // A callee cannot detect a count greater than the array.
                if (!isCount || odd == 0 || (what.isSigned && odd < 0)) {
                    with(std::to_string(odd).c_str(), [&](XCall& call) { call[parameter].number = odd; });
                }
            }
        } else if (what.kind == XKind::Text) {
            const OLECHAR zeros[] = {'A', 0, 'B', 0xD800, 0};
            for (const XLXText& odd : {XLXText(), XLXText(100000, OLECHAR('x')), XLXText(OLESTR("////")),
                                       XLXText(zeros, 5), XLXText(OLESTR("objects/x/0/-99999999999999999999"))}) {
                with("odd text", [&](XCall& call) { call.SetText(parameter, odd); });
            }
        } else if (what.kind == XKind::Variant) {
            for (const int type :
                 {+VT_EMPTY, +VT_NULL, +VT_BSTR, +VT_UNKNOWN, +VT_ERROR, 0x777, VT_ARRAY | VT_VARIANT}) {
                with("odd value", [&](XCall& call) { V_VT(&call[parameter].variant) = static_cast<VARTYPE>(type); });
            }
        } else if (what.kind == XKind::Id) {
            with("unknown", [&](XCall& call) { call[parameter].pointer = const_cast<IID*>(&GUID_NULL); });
        }
    }

    HRESULT Check(const char* what, XCall& call, void* face, const XParameter* nulled = nullptr) {
        SCOPED_TRACE(std::string(call.Method().name) + ": " + what + (nulled != nullptr ? nulled->name : ""));
        XLXError::SetComAppError(E_FAIL, OLESTR("earlier"), LXHere("test_surface", nullptr, "Check"));
        const HRESULT result = call.Run(face);
        const LXErrorInformation error = LXErrorInformation::Take();
        EXPECT_TRUE(IsSensible(result)) << std::hex << result;
        if (SUCCEEDED(result) || result == E_NOTIMPL) {
            EXPECT_EQ(error.description, OLESTR("earlier")); // stays
        } else {
            EXPECT_TRUE(!error.present || !error.description.empty());
        }
        if (nulled != nullptr && nulled->role != XRole::In) // no method has optional out pointers
        {
            EXPECT_TRUE(FAILED(result)) << std::hex << result;
        }
        CheckHandedOver(call, result, nulled);
        return result;
    }

    void CheckHandedOver(XCall& call, HRESULT result, const XParameter* nulled) {
        for (std::size_t i = 0; i < call.Method().parameters.size(); ++i) {
            const XParameter& parameter = call.Method().parameters[i];
            if (!parameter.HandsOver() || parameter.count >= 0 || call[i].pointer == nullptr || &parameter == nulled) {
                continue;
            }
            const XCall::Left expected = result == S_OK ? XCall::Left::Something : XCall::Left::Null;
            EXPECT_EQ(call.What(i), expected) << parameter.name << " after " << std::hex << result;
        }
    }

    /// Checks that reads and a notification complete, on another thread if the mode allows one.
    void CheckNothingIsLocked() {
        const auto probe = [this] {
            const XLXComPtr<ILXConfigFactoryCache> cache(&m_world->Cache());
            const auto pump = m_world->Server().DataObject("Pump");
            const auto type = LXFind(cache, &ILXConfigFactoryCache::GetCachedType, pump.Get(), nullptr);
            if (type) { LXRead(type.Get(), 0); }
            LXFind(type, &ILXType::GetAttributeEnum);
            LXFind(cache, &ILXConfigFactoryCache::GetPPRRelationsEnum, "Equipment", nullptr);
            m_world->Server().SendNotification("objects/x/0/0");
        };
        if (LXServerMode()) {
            probe();
        } else {
            std::thread(probe).join(); // the watchdog aborts it if it hangs
        }
    }

    std::unique_ptr<XObjectWorld> m_world;
};

TEST_P(Surface, SurvivesInvalidArguments) {
    const std::string kind = GetParam().kind;
    const long before = XModuleCount::Locks();
    m_world = std::make_unique<XObjectWorld>(GetParam().stage);
    std::size_t called = 0;
    for (std::size_t face = 0; face < LXFacesOf(*m_world->Object(kind).Get()).size(); ++face) {
        const XInterface& interface_ = *LXFacesOf(*m_world->Object(kind).Get())[face].interface_;
        SCOPED_TRACE(interface_.name);
        for (const XMethod& method : interface_.methods) {
            if (GetParam().stage == XStage::Created && !LXServerMode() && kind == "manager" &&
                std::string(method.name).rfind("Initialize", 0) == 0 && interface_.name != std::string("IDPFObject")) {
                continue; // it would turn off the locks of this program
            }
            const auto object = m_world->Object(kind);
            AbuseMethod(method, LXFacesOf(*object.Get())[face].face);
            CheckNothingIsLocked();
            ++called;
            if (kind == "manager" || called % 16 == 0) {
                m_world.reset(); // drops everything that the calls changed
                m_world = std::make_unique<XObjectWorld>(GetParam().stage);
            }
        }
    }
    EXPECT_GT(called, 1u);
    XLXComPtr<IUnknown> none(m_world->Object(kind));
    EXPECT_EQ(m_world->Object(kind)->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(m_world->Object(kind)->QueryInterface(GUID_NULL, none.PutVoid()), E_NOINTERFACE);
    EXPECT_FALSE(none);
    none.Reset();
    m_world.reset();
    EXPECT_EQ(XModuleCount::LiveObjects(), 0);
    EXPECT_EQ(XSampleServer::LiveObjectsOfAllServers(), 0);
    if (kind != "class factory") // its LockServer calls are not balanced
    {
        EXPECT_EQ(XModuleCount::Locks(), before);
    }
    SetErrorInfo(0, nullptr);
}

std::vector<Place> Places() {
    std::vector<Place> places;
    for (const XStage stage : {XStage::Created, XStage::Initialised, XStage::Terminated}) {
        const XObjectWorld world(stage);
        for (const auto& [kind, object] : world.All()) {
            places.push_back({kind, stage});
        }
    }
    return places;
}

std::string NameOf(const testing::TestParamInfo<Place>& test) {
    const XStage stage = test.param.stage;
    std::string name = test.param.kind + (stage == XStage::Created       ? "_Created"
                                          : stage == XStage::Initialised ? "_Initialised"
                                                                         : "_Terminated");
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, Surface, testing::ValuesIn(Places()), NameOf);
} // namespace
