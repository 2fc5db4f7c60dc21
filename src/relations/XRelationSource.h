// SPDX-License-Identifier: MIT
#ifndef XRELATIONSOURCE_H
#define XRELATIONSOURCE_H

#include "XLXText.h"
#include "XServerSource.h"

#include <array>
#include <functional>

/// Returns the config factory of a connection; null if that connection is over.
using XFactorySource = std::function<XLXComPtr<ILXConfigFactory>()>;
using XFactorySourcePtr = std::shared_ptr<const XFactorySource>;

/// Supplies the server object of a relation whose record came without one. Searches the server's enumeration of the
/// parent type's relations for the one with the other two names.
class XRelationSource final : public XServerSource {
public:
    /// @param names  parent type, child type, child list
    XRelationSource(XFactorySourcePtr factory, const std::array<XLXTextView, 3>& names)
        : m_factory(std::move(factory)), m_names{XLXText(names[0]), XLXText(names[1]), XLXText(names[2])} {}

    XLXComPtr<IUnknown> Ask() const override;

private:
    const XFactorySourcePtr m_factory;
    const std::array<XLXText, 3> m_names;
};

#endif
