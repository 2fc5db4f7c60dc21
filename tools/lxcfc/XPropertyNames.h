// SPDX-License-Identifier: MIT
//
// The names by which properties are shown and found: those of models/properties.json, or of a file in the same format
// for a server whose properties have other meanings.
//
// Threading  The names are constant once Read has returned, which must be called first.
// Errors     XToolFailure for an invalid file.
#ifndef XPROPERTYNAMES_H
#define XPROPERTYNAMES_H

#include "XPropertyTable.h"

#include <nlohmann/json_fwd.hpp>

#include <map>

class XPropertyNames {
public:
    static XPropertyNames& The();

    /// Replaces the names of the kinds in the file. Properties that the component itself reads mean the same for every
    /// server; they keep their names unless the file has others.
    void Read(const std::string& file);

    /// Whether the property has a name.
    bool Has(XElementKind kind, int index) const { return Of(kind).keys.contains(index); }
    /// The property's name; "p<index>" if it has none.
    std::string Key(XElementKind kind, int index) const;
    /// The index of a shown name or of a name for the server's Get, ignoring case and word separators; -1 if there is
    /// none.
    int Find(XElementKind kind, const std::string& name) const;
    /// All shown names.
    std::vector<std::string> Known(XElementKind kind) const;
    /// The indexes of the properties with names.
    std::vector<int> Indexes(XElementKind kind) const;
    /// The word for a number, by the name of its property; "": none.
    std::string Word(const std::string& key, long long number) const;
    /// All of these words.
    const std::map<std::string, std::map<long long, std::string>>& Words() const { return m_words; }

private:
    struct Kind {
        std::map<int, std::string> keys;
        std::map<std::string, int> configNames;
    };

    XPropertyNames();
    const Kind& Of(XElementKind kind) const { return m_kinds[static_cast<std::size_t>(kind)]; }
    void ReadKind(const nlohmann::ordered_json& json);
    void ReadProperty(std::size_t kind, const nlohmann::ordered_json& json);

    std::vector<Kind> m_kinds;
    std::map<std::string, std::map<long long, std::string>> m_words;
};

#endif
