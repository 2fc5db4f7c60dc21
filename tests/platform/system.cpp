// SPDX-License-Identifier: MIT
//
// Error information, and identifiers as text.
#include "contract.h"

#include <thread>

namespace {
void SetError(const OLECHAR* description) {
    ICreateErrorInfo* create = nullptr;
    ASSERT_EQ(S_OK, CreateErrorInfo(&create));
    Text text = description;
    EXPECT_EQ(S_OK, create->SetDescription(text.data()));
    IErrorInfo* info = nullptr;
    ASSERT_EQ(S_OK, create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)));
    EXPECT_EQ(S_OK, SetErrorInfo(0, info));
    info->Release();
    create->Release();
}

/// The description of the thread's error, which is taken away; "-" when there is none.
Text TakeError() {
    IErrorInfo* info = nullptr;
    const HRESULT result = GetErrorInfo(0, &info);
    if (result != S_OK) {
        EXPECT_EQ(S_FALSE, result);
        EXPECT_EQ(nullptr, info);
        return OLESTR("-");
    }
    BSTR text = nullptr;
    EXPECT_EQ(S_OK, info->GetDescription(&text));
    const Text description = TextOf(text);
    SysFreeString(text);
    BSTR source = reinterpret_cast<BSTR>(1);
    EXPECT_EQ(S_OK, info->GetSource(&source));
    EXPECT_EQ(nullptr, source) << "was never set";
    info->Release();
    return description;
}
} // namespace

TEST(ErrorInformation, IsPerThread) {
    EXPECT_EQ(Text(OLESTR("-")), TakeError());
    SetError(OLESTR("mine"));
    std::thread([] {
        EXPECT_EQ(Text(OLESTR("-")), TakeError());
        SetError(OLESTR("taken along by the thread that ends"));
    }).join();
    EXPECT_EQ(Text(OLESTR("mine")), TakeError());
    EXPECT_EQ(Text(OLESTR("-")), TakeError()) << "taking it empties the slot";
    SetError(OLESTR("first"));
    SetError(OLESTR("second"));
    EXPECT_EQ(Text(OLESTR("second")), TakeError());
    SetError(OLESTR("cleared"));
    EXPECT_EQ(S_OK, SetErrorInfo(0, nullptr));
    EXPECT_EQ(Text(OLESTR("-")), TakeError());
    IErrorInfo* info = nullptr;
    EXPECT_EQ(E_INVALIDARG, GetErrorInfo(1, &info));
    EXPECT_EQ(E_INVALIDARG, SetErrorInfo(1, nullptr));
    EXPECT_EQ(E_INVALIDARG, CreateErrorInfo(nullptr));
}

TEST(Identifiers, AsText) {
    OLECHAR text[39];
    EXPECT_EQ(0, StringFromGUID2(IID_IClassFactory, text, 38));
    EXPECT_EQ(39, StringFromGUID2(IID_IClassFactory, text, 39));
    EXPECT_EQ(Text(OLESTR("{00000001-0000-0000-C000-000000000046}")), text);

    CLSID id = IID_IClassFactory;
    EXPECT_EQ(CO_E_CLASSSTRING, CLSIDFromProgID(OLESTR("No.Such.Name"), &id));
    EXPECT_TRUE(IsEqualGUID(CLSID_NULL, id));
    EXPECT_EQ(S_OK, CLSIDFromString(text, &id));
    EXPECT_TRUE(IsEqualGUID(IID_IClassFactory, id));
    EXPECT_EQ(CO_E_CLASSSTRING, CLSIDFromString(OLESTR("{00000001-0000-0000-C000-00000000004G}"), &id));
}
