// SPDX-License-Identifier: MIT
//
// Error information, identifiers as text, threads, the machine's name, and the program's file.
#include "contract.h"

#include <set>
#include <thread>
#include <vector>

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

/// Takes the thread's error information and returns its description; "-" if there is none.
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

TEST(Threads, HaveNumbersAndErrorsOfTheirOwn) {
    std::atomic<int> step{0};
    DWORD other = 0;
    std::thread thread([&] {
        other = GetCurrentThreadId();
        while (step != 1) {}
        SetLastError(7);
        step = 2;
        EXPECT_EQ(other, GetCurrentThreadId());
        EXPECT_EQ(7u, GetLastError());
    });
    SetLastError(5);
    step = 1;
    while (step != 2) // calls nothing, because any call might set the last error
    {}
    EXPECT_EQ(5u, GetLastError());
    thread.join();
    EXPECT_EQ(3u, std::set<DWORD>({0, other, GetCurrentThreadId()}).size());
    EXPECT_NE(0u, GetCurrentProcessId());
}

TEST(Machine, NameFollowsTheBufferContract) {
    OLECHAR name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    ASSERT_TRUE(GetComputerNameW(name, &size));
    EXPECT_EQ(Text(name).size(), size);
    EXPECT_GT(size, 0u);
    const DWORD length = size;
    for (const DWORD room : {DWORD{0}, length}) // no room for the terminating zero
    {
        size = room;
        SetLastError(0);
        EXPECT_FALSE(GetComputerNameW(name, &size));
        EXPECT_EQ(DWORD{ERROR_BUFFER_OVERFLOW}, GetLastError());
        EXPECT_EQ(length + 1, size);
    }
}

TEST(Modules, TheProgramKnowsItsFile) {
    static const int somewhere = 0;
    HMODULE module = nullptr;
    ASSERT_TRUE(
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCWSTR>(&somewhere), &module));
    OLECHAR path[1024] = {};
    const DWORD length = GetModuleFileNameW(module, path, 1024);
    const Text whole(path, length);
    EXPECT_NE(Text::npos, whole.find(OLESTR("test_platform")));
    EXPECT_EQ(length, GetModuleFileNameW(nullptr, path, 1024));
    EXPECT_EQ(whole, path);
    EXPECT_EQ(5u, GetModuleFileNameW(module, path, 5)) << "cut off";
    EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, GetLastError());
    EXPECT_EQ(nullptr, LoadLibraryW(OLESTR("no such module")));
    EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
}
