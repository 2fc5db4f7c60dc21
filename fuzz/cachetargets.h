// SPDX-License-Identifier: MIT
//
// The common part of the fuzz targets for the whole cache: a small model, a cache in front of a sample server, queries
// that server and cache must answer alike, and decisions from input bytes.
#ifndef CACHETARGETS_H
#define CACHETARGETS_H

#include "XSampleServer.h"
#include "arraycode.h"

#include <string>

/// Ends the process unless the condition holds.
void LXRequire(bool holds, const std::string& what);

/// Decisions from the fuzzer's bytes; 0 when they are used up.
class Decisions {
public:
    explicit Decisions(XBytes bytes) noexcept : m_bytes(bytes) {}
    bool Empty() const noexcept { return m_bytes.empty(); }
    std::uint8_t Byte() noexcept;
    /// A number from 0 to count - 1.
    int Of(int count) noexcept { return Byte() % count; }
    template <class T, std::size_t count> const T& OneOf(const T (&choices)[count]) noexcept {
        return choices[Of(static_cast<int>(count))];
    }
    XBytes Rest() const noexcept { return m_bytes; }

private:
    XBytes m_bytes;
};

/// Names in the model, and some that are missing at first or always.
inline constexpr const char* FuzzTypes[] = {"Item",  "Equipment", "Pump",   "Valve",  "Document",
                                            "Sheet", "Folder",    "Hidden", "Extra1", "Extra2"};
inline constexpr const char* FuzzAttributes[] = {"Name", "Weight", "Power", "Head", "Title", "Added1", "Added2"};

/// A query to a config factory. The answer is a text, comparable between cache and server.
struct Question {
    enum Kind : std::uint8_t {
        TypeProperty,
        AttributeProperty,
        AttributeFormat,
        AttributeTypes,
        GroupProperty,
        GroupFormat,
        ChildGroups,
        PageProperty,
        EditorProperty,
        DefaultEditors,
        ShownAttributes,
        GroupAttributes,
        Groups,
        PageGroups,
        PagesAndEditors,
        Types,
        SearchableTypes,
        BrowserIds,
        GlobalSpecs,
        Relations,
        PCInfos,
        ByName,
        KindCount
    };
    Kind kind = TypeProperty;
    const char* type = "";
    const char* attribute = "";
    int number = 0;
    int member = 0;

    static Question From(Decisions& decisions);
    std::string Text() const;
};

std::string LXAnswer(ILXConfigFactory& factory, const Question& question);

/// A cache in client mode with its own sample server.
class FuzzCache {
public:
    FuzzCache();
    ~FuzzCache();
    FuzzCache(const FuzzCache&) = delete;
    FuzzCache& operator=(const FuzzCache&) = delete;

    void Start(LONG transferMode);
    void Terminate();
    XSampleServer& Server() const { return *m_server; }
    XLXComPtr<ILXConfigFactory> Cache() const { return m_cache.As<ILXConfigFactory>(); }
    XLXComPtr<ILXConfigFactory> Direct() const { return m_server->ConfigFactory(); }
    /// Requires that cache and server give the same answer.
    void Compare(const Question& question) const;

private:
    const std::shared_ptr<XSampleServer> m_server;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};

/// Notifications of every form, to the manager and directly to cached objects. True: one of a known kind.
bool FuzzDataId(XBytes bytes);
/// Whole operations of a client and edits of the server. True: at least one answer was compared.
bool FuzzOperations(XBytes bytes);

#endif
