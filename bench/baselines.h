// SPDX-License-Identifier: MIT
//
// The baselines: the same data in the simplest form that a good engineer would write for one program.
#ifndef BASELINES_H
#define BASELINES_H

#include "XLXComVariant.h"
#include "XModelValue.h"

#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <tuple>

/// (a) A value, copied without any lock.
struct XPlainValue {
    XLXComVariant value;

    HRESULT GetProperty(VARIANT* out) const;
};

/// (b) and (c) An object's values by index, behind a lock.
template <class Mutex, class ReadLock> class XLockedValues {
public:
    void Add(int index, XLXComVariant value) { m_values.emplace(index, std::move(value)); }
    HRESULT GetProperty(int index, VARIANT* out) const {
        const ReadLock lock(m_mutex);
        const auto found = m_values.find(index);
        if (found == m_values.end()) { return E_INVALIDARG; }
        return VariantCopy(out, const_cast<VARIANT*>(&found->second.Get()));
    }

private:
    mutable Mutex m_mutex;
    std::map<int, XLXComVariant> m_values;
};
using XSharedValues = XLockedValues<std::shared_mutex, std::shared_lock<std::shared_mutex>>;
using XMutexValues = XLockedValues<std::mutex, std::lock_guard<std::mutex>>;

/// (b) Objects by name behind a lock. The key is the name as UTF-8, like the cache's.
template <class Interface> class XSharedObjects {
public:
    void Add(XLXTextView name, XLXComPtr<Interface> object) { m_objects[LXToUtf8(name)] = std::move(object); }
    HRESULT Find(XLXTextView name, Interface** out) const {
        const std::string key = LXToUtf8(name);
        const std::shared_lock<std::shared_mutex> lock(m_mutex);
        const auto found = m_objects.find(key);
        if (found == m_objects.end()) { return S_FALSE; }
        found->second.CopyTo(out);
        return S_OK;
    }
    std::size_t Size() const { return m_objects.size(); }

private:
    mutable std::shared_mutex m_mutex;
    std::map<std::string, XLXComPtr<Interface>> m_objects;
};

/// (b) Relations by parent type, child type and child list.
class XSharedRelations {
public:
    void Add(XLXTextView parent, XLXTextView child, XLXTextView list, XLXComPtr<ILXParentChild> relation);
    HRESULT Find(XLXTextView parent, XLXTextView child, XLXTextView list, ILXParentChild** out) const;
    std::size_t Size() const { return m_relations.size(); }

private:
    using Key = std::tuple<std::string, std::string, std::string>;
    mutable std::shared_mutex m_mutex;
    std::map<Key, XLXComPtr<ILXParentChild>> m_relations;
};

/// Reads each element of an array with SafeArrayGetElement and stores it with SafeArrayPutElement.
void LXCopyElementByElement(SAFEARRAY* from, SAFEARRAY* to);

#endif
