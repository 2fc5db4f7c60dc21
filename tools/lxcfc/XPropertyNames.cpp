// SPDX-License-Identifier: MIT
#include "XPropertyNames.h"

#include "XSuggestion.h"
#include "XToolCom.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>

namespace {
using XJson = nlohmann::ordered_json;

/// The kinds in the order of XElementKind.
constexpr const char* KindNames[] = {
#define LX_KIND(kind, count) #kind,
#define LX_PROPERTY(index, key, name, value)
#include "propertyrows.inc"
#undef LX_KIND
#undef LX_PROPERTY
};
constexpr int MostProperties = 1000;
} // namespace

XPropertyNames& XPropertyNames::The() {
    static XPropertyNames names;
    return names;
}

XPropertyNames::XPropertyNames() {
    for (std::size_t i = 0; i < std::size(KindNames); ++i) {
        Kind& kind = m_kinds.emplace_back();
        for (const XPropertyRow& row : XPropertyTable::Of(static_cast<XElementKind>(i)).rows) {
            if (row.key != nullptr) { kind.keys.emplace(row.index, row.key); }
            if (row.configName != nullptr) { kind.configNames.emplace(LXFolded(row.configName), row.index); }
        }
    }
#define LX_WORD(kind, index, number, text) m_words[Key(XElementKind::kind, index)][number] = text;
#include "propertywords.inc"
#undef LX_WORD
}

std::string XPropertyNames::Key(XElementKind kind, int index) const {
    const auto found = Of(kind).keys.find(index);
    return found != Of(kind).keys.end() ? found->second : "p" + std::to_string(index);
}

int XPropertyNames::Find(XElementKind kind, const std::string& name) const {
    const std::string wanted = LXFolded(name);
    for (const auto& [index, key] : Of(kind).keys) {
        if (LXFolded(key) == wanted) { return index; }
    }
    if (const auto found = Of(kind).configNames.find(wanted); found != Of(kind).configNames.end()) {
        return found->second;
    }
    const std::string number = wanted.starts_with("property") ? wanted.substr(8)
                               : wanted.starts_with('p')      ? wanted.substr(1)
                                                              : wanted;
    const bool isNumber = !number.empty() && number.size() < 9 && number.find_first_not_of("0123456789") == number.npos;
    return isNumber ? std::stoi(number) : -1;
}

std::vector<std::string> XPropertyNames::Known(XElementKind kind) const {
    std::vector<std::string> known;
    for (const auto& [index, key] : Of(kind).keys) {
        known.push_back(key);
    }
    return known;
}

std::vector<int> XPropertyNames::Indexes(XElementKind kind) const {
    std::vector<int> indexes;
    for (const auto& [index, key] : Of(kind).keys) {
        indexes.push_back(index);
    }
    return indexes;
}

std::string XPropertyNames::Word(const std::string& key, long long number) const {
    const auto words = m_words.find(key);
    if (words == m_words.end()) { return ""; }
    const auto word = words->second.find(number);
    return word != words->second.end() ? word->second : "";
}

void XPropertyNames::Read(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    LXExpectThat(static_cast<bool>(stream), "the names in " + file + " cannot be read");
    try {
        m_words.clear();
        const XJson table = XJson::parse(stream);
        for (const XJson& kind : table.at("kinds")) {
            ReadKind(kind);
        }
    } catch (const nlohmann::json::exception& error) {
        throw XToolFailure("the names in " + file + " cannot be used: " + error.what());
    }
}

void XPropertyNames::ReadKind(const XJson& json) {
    const auto name = json.at("kind").get<std::string>();
    const auto found = std::find(std::begin(KindNames), std::end(KindNames), name);
    LXExpectThat(found != std::end(KindNames), "names: there is no kind \"" + name + "\"" +
                                                   LXDidYouMean(name, {std::begin(KindNames), std::end(KindNames)}));
    const auto kind = static_cast<std::size_t>(found - std::begin(KindNames));
    std::erase_if(m_kinds[kind].keys, [kind](const auto& key) {
        const auto& rows = XPropertyTable::Of(static_cast<XElementKind>(kind)).rows;
        return std::none_of(rows.begin(), rows.end(), [&key](const XPropertyRow& row) {
            return row.index == key.first && row.configName != nullptr;
        });
    });
    for (const XJson& property : json.at("properties")) {
        ReadProperty(kind, property);
    }
}

void XPropertyNames::ReadProperty(std::size_t kind, const XJson& json) {
    const int index = json.at("index").get<int>();
    const auto key = json.at("key").get<std::string>();
    LXExpectThat(index >= 0 && index < MostProperties, "names: " + std::to_string(index) + " is no property's index");
    for (const auto& [other, known] : m_kinds[kind].keys) {
        LXExpectThat(other == index || LXFolded(known) != LXFolded(key),
                     std::string("names: two properties of ") + KindNames[kind] + " are called \"" + key + "\"");
    }
    m_kinds[kind].keys[index] = key;
    const XJson words = json.value("words", XJson::object());
    for (const auto& [number, word] : words.items()) {
        m_words[key][std::stoll(number)] = word.get<std::string>();
    }
}
