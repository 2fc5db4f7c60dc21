// SPDX-License-Identifier: MIT
//
// The names under which properties are shown and found: those of models/properties.json, or of a file of the same form
// for a server whose properties mean something else.
//
// Threading  Names are read from a file before anything else happens, and are constant then.
// Errors     XToolFailure for a file that cannot be used.
#ifndef XPROPERTYNAMES_H
#define XPROPERTYNAMES_H

#include "XPropertyTable.h"

#include <nlohmann/json_fwd.hpp>

#include <map>

class XPropertyNames {
public:
    static XPropertyNames& The();

    /// Takes the names of the kinds that the file has in place of those of the shipped model. What the component itself
    /// reads means the same in front of every server and keeps its name unless the file has another one.
    void Read(const std::string& file);

    /// Whether the property has a name.
    bool Has(XElementKind kind, int index) const { return Of(kind).keys.contains(index); }
    /// Its name; "p<index>" where it has none.
    std::string Key(XElementKind kind, int index) const;
    /// The index of a name that is shown, or that the server's Get takes, in any case and however its words are parted;
    /// -1 when there is none.
    int Find(XElementKind kind, const std::string& name) const;
    /// All names that are shown.
    std::vector<std::string> Known(XElementKind kind) const;
    /// The indexes of the properties with names.
    std::vector<int> Indexes(XElementKind kind) const;
    /// What a number stands for, by the name of its property; "" when it stands for nothing else.
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
