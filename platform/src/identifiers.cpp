// SPDX-License-Identifier: MIT
//
// The GUIDs of the platform's interfaces, and conversion of GUIDs to and from text.
#include <objbase.h>
#include <oleauto.h>
#include <winreg.h>

#include <cstdio>
#include <string>

extern "C" {
const GUID GUID_NULL = {};
const IID IID_IUnknown = LXUuidOf<IUnknown>::value;
const IID IID_IClassFactory = LXUuidOf<IClassFactory>::value;
const IID IID_IDispatch = {0x00020400, 0, 0, {0xc0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IErrorInfo = LXUuidOf<IErrorInfo>::value;
const IID IID_ICreateErrorInfo = LXUuidOf<ICreateErrorInfo>::value;
const IID IID_ISupportErrorInfo = LXUuidOf<ISupportErrorInfo>::value;
}

namespace {
constexpr int g_textLength = 38; // {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}

/// The value of a hexadecimal digit, or -1.
int Digit(OLECHAR character) {
    if (character >= u'0' && character <= u'9') { return character - u'0'; }
    const int letter = character | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

/// Reads this many hexadecimal digits; false when a character is not one.
bool ReadHex(const OLECHAR*& text, int digits, uint32_t& value) {
    value = 0;
    for (; digits > 0; --digits, ++text) {
        const int digit = Digit(*text);
        if (digit < 0) { return false; }
        value = value << 4 | static_cast<uint32_t>(digit);
    }
    return true;
}

bool Skip(const OLECHAR*& text, OLECHAR expected) {
    if (*text != expected) { return false; }
    ++text;
    return true;
}

bool Parse(const OLECHAR* text, CLSID& id) {
    uint32_t data2 = 0;
    uint32_t data3 = 0;
    if (!Skip(text, u'{') || !ReadHex(text, 8, id.Data1) || !Skip(text, u'-') || !ReadHex(text, 4, data2) ||
        !Skip(text, u'-') || !ReadHex(text, 4, data3) || !Skip(text, u'-')) {
        return false;
    }
    id.Data2 = static_cast<uint16_t>(data2);
    id.Data3 = static_cast<uint16_t>(data3);
    for (int i = 0; i < 8; ++i) {
        uint32_t value = 0;
        if ((i == 2 && !Skip(text, u'-')) || !ReadHex(text, 2, value)) { return false; }
        id.Data4[i] = static_cast<uint8_t>(value);
    }
    return Skip(text, u'}') && *text == 0;
}
} // namespace

int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax) {
    if (lpsz == nullptr || cchMax <= g_textLength) { return 0; }
    char text[g_textLength + 1];
    const uint8_t* const d = rguid.Data4;
    std::snprintf(text, sizeof(text), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", rguid.Data1, rguid.Data2,
                  rguid.Data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
    for (int i = 0; i <= g_textLength; ++i) {
        lpsz[i] = static_cast<OLECHAR>(text[i]);
    }
    return g_textLength + 1;
}

HRESULT CLSIDFromProgID(LPCOLESTR lpszProgID, CLSID* pclsid) {
    if (lpszProgID == nullptr || pclsid == nullptr) { return E_INVALIDARG; }
    *pclsid = GUID_NULL;
    HKEY key = nullptr;
    const std::u16string path = std::u16string(lpszProgID) + u"\\CLSID";
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) { return CO_E_CLASSSTRING; }
    OLECHAR text[g_textLength + 1] = {};
    DWORD size = sizeof(text);
    const LSTATUS status = RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<LPBYTE>(text), &size);
    RegCloseKey(key);
    CLSID id = {};
    if (status != ERROR_SUCCESS || text[g_textLength] != 0 || !Parse(text, id)) { return CO_E_CLASSSTRING; }
    *pclsid = id;
    return S_OK;
}

HRESULT CLSIDFromString(LPCOLESTR lpsz, CLSID* pclsid) {
    if (pclsid == nullptr) { return E_INVALIDARG; }
    *pclsid = GUID_NULL;
    CLSID id = {};
    if (lpsz == nullptr || !Parse(lpsz, id)) { return CO_E_CLASSSTRING; }
    *pclsid = id;
    return S_OK;
}
