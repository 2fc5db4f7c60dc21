// SPDX-License-Identifier: MIT
//
// Writer for the flat arrays of the bulk transfer: a sequence of VARIANTs, each of exactly the type that the reader
// expects. transfer-format.md of the documents describes the format.
//
// Ownership  An array owns its elements until Detach moves them into a SAFEARRAY, which the caller owns.
// Threading  Not thread-safe: one thread at a time.
// Errors     std::bad_alloc.
#ifndef LXSERVER_FLATARRAY_H
#define LXSERVER_FLATARRAY_H

#include <lxserver/Model.h>

namespace lx {
class FlatArray {
public:
    FlatArray() = default;
    FlatArray(const FlatArray&) = delete;
    FlatArray& operator=(const FlatArray&) = delete;
    ~FlatArray() {
        for (VARIANT& value : m_values) {
            VariantClear(&value);
        }
    }

    LONG Size() const noexcept { return static_cast<LONG>(m_values.size()); }
    void Number(LONG number) { V_I4(&Add(VT_I4)) = number; }
    void Count(std::size_t count) { V_UI4(&Add(VT_UI4)) = static_cast<ULONG>(count); }
    void Flag(bool flag) { V_BOOL(&Add(VT_BOOL)) = flag ? VARIANT_TRUE : VARIANT_FALSE; }
    void Name(TextView name) {
        VARIANT& added = Add(VT_EMPTY);
        V_BSTR(&added) = NewBstr(name);
        V_VT(&added) = VT_BSTR;
    }
    /// Appends an object; may be null.
    void Object(Ref<IUnknown> object) { V_UNKNOWN(&Add(VT_UNKNOWN)) = object.Detach(); }
    /// Appends an empty element. The pointer is valid until the next element is added.
    VARIANT* Next() { return &Add(VT_EMPTY); }
    /// Appends all values of a record, ordered by index.
    void Values(const Record& record) {
        for (int i = 0; i < record.Count(); ++i) {
            record[i].CopyTo(Next());
        }
    }
    /// Appends the number of another array's elements, then moves the elements here.
    void SubArray(FlatArray& other) {
        Number(other.Size());
        Append(other);
    }
    /// Moves another array's elements to the end of this one.
    void Append(FlatArray& other) {
        m_values.insert(m_values.end(), other.m_values.begin(), other.m_values.end());
        other.m_values.clear();
    }

    /// Moves all elements into a SAFEARRAY.
    SAFEARRAY* Detach() {
        using Owner = std::unique_ptr<SAFEARRAY, HRESULT (*)(SAFEARRAY*)>;
        Owner array(SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(m_values.size())),
                    [](SAFEARRAY* a) { return SafeArrayDestroy(a); });
        void* data = nullptr;
        if (array == nullptr || FAILED(SafeArrayAccessData(array.get(), &data))) { throw std::bad_alloc(); }
        std::copy(m_values.begin(), m_values.end(), static_cast<VARIANT*>(data));
        SafeArrayUnaccessData(array.get());
        m_values.clear();
        return array.release();
    }

private:
    VARIANT& Add(VARTYPE type) {
        VARIANT& added = m_values.emplace_back();
        VariantInit(&added);
        V_VT(&added) = type;
        return added;
    }

    std::vector<VARIANT> m_values;
};

/// The strings of a one-dimensional array of BSTRs. Throws std::invalid_argument for any other array.
inline std::vector<Text> TextsOf(SAFEARRAY* array) {
    VARTYPE type = VT_EMPTY;
    LONG lower = 0;
    LONG upper = -1;
    void* data = nullptr;
    if (array == nullptr || SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetVartype(array, &type)) ||
        type != VT_BSTR || FAILED(SafeArrayGetLBound(array, 1, &lower)) ||
        FAILED(SafeArrayGetUBound(array, 1, &upper)) || FAILED(SafeArrayAccessData(array, &data))) {
        throw std::invalid_argument("no array of strings");
    }
    const std::unique_ptr<SAFEARRAY, HRESULT (*)(SAFEARRAY*)> access(
        array, [](SAFEARRAY* a) { return SafeArrayUnaccessData(a); });
    std::vector<Text> texts;
    for (LONG i = 0; i <= upper - lower; ++i) {
        texts.emplace_back(ViewOf(static_cast<BSTR*>(data)[i]));
    }
    return texts;
}
} // namespace lx

#endif
