// SPDX-License-Identifier: MIT
//
// The parts of random edits: choices among the elements of a model, and the kinds of edits.
#ifndef XEDITCHOICE_H
#define XEDITCHOICE_H

#include "XServerEdits.h"

#include <algorithm>
#include <random>

namespace LXRandom {
using Model = const XServerModel&;
/// An edit that was chosen under the model's lock and is made without it. Empty: there is nothing to edit.
using Edit = std::function<void(XServerEdits&, XNotify)>;

/// Chooses elements, values and new names.
class XChoice {
public:
    explicit XChoice(unsigned seed) : m_random(seed) {}

    unsigned Below(std::size_t limit) { return static_cast<unsigned>(m_random() % limit); }
    bool OneIn(unsigned n) { return Below(n) == 0; }

    template <class T> const T* Of(const XModelList<T>& list) {
        return list.empty() ? nullptr : &*list[Below(list.size())];
    }
    const XModelType* Type(Model model) {
        return model.types.empty()
                   ? nullptr
                   : &*std::next(model.types.begin(), static_cast<int>(Below(model.types.size())))->second;
    }
    std::optional<int> FormatType(const XModelFormats& formats) {
        return formats.empty()
                   ? std::nullopt
                   : std::optional(std::next(formats.begin(), static_cast<int>(Below(formats.size())))->first);
    }
    /// The number of a random element, or 0.
    template <class T> int NumberOf(const XModelList<T>& list, int index) {
        const T* const element = OneIn(4) ? nullptr : Of(list);
        return element != nullptr ? element->Number(index) : 0;
    }
    XLXText Browser(Model model) {
        const XModelBrowserId* const browser = Of(model.browserIds);
        return browser != nullptr ? browser->Text(XProperty::BrowserIdName) : XLXText();
    }

    /// A random property that is not excluded.
    int Property(const XModelProperties& properties, std::initializer_list<int> excluded) {
        int index = 0;
        do {
            index = static_cast<int>(Below(static_cast<std::size_t>(properties.Count())));
        } while (std::find(excluded.begin(), excluded.end(), index) != excluded.end());
        return index;
    }
    /// A random value of the type of the property's default; texts may also be empty.
    XModelValue ValueFor(const XModelProperties& properties, int index) {
        const XModelValue& usual = XPropertyTable::Of(properties.Kind()).Default(index);
        switch (usual.Get().index()) {
        case 1: return XModelValue(static_cast<int>(Below(10)));
        case 2: return XModelValue(OneIn(2));
        case 3: return XModelValue(static_cast<double>(Below(10000)) / 8);
        default: return OneIn(8) ? XModelValue() : XModelValue(New("Text \xC3\xBC <&>/% "));
        }
    }
    /// A new name. An element from an earlier run may have the same one.
    std::string New(const char* prefix) { return prefix + std::to_string(m_random() % 1000000000); }
    int NewNumber() { return static_cast<int>(100 + Below(1000000)); }

private:
    std::mt19937 m_random;
};

/// A kind of edit. `choose` is called under the model's lock.
struct XKind {
    const char* name;
    unsigned weight; ///< relative frequency
    Edit (*choose)(Model model, XChoice& choice);
};

std::vector<XKind> KindsOfTypes();
std::vector<XKind> KindsOfOthers();
} // namespace LXRandom

#endif
