// SPDX-License-Identifier: MIT
//
// What the fuzz targets for the whole cache share: a small model, a cache in front of a sample server, questions that
// a server and a cache answer alike, and bytes to decide by.
#ifndef CACHETARGETS_H
#define CACHETARGETS_H

#include "XSampleServer.h"
#include "arraycode.h"

#include <string>

/// Ends the process when something does not hold.
void LXRequire(bool holds, const std::string& what);

/// Decisions out of a fuzzer's bytes; 0 when there are no more.
class Decisions {
public:
    explicit Decisions(XBytes bytes) noexcept : m_bytes(bytes) {}
    bool Empty() const noexcept { return m_bytes.empty(); }
    std::uint8_t Byte() noexcept;
    /// One of that many.
    int Of(int count) noexcept { return Byte() % count; }
    template <class T, std::size_t count> const T& OneOf(const T (&choices)[count]) noexcept {
        return choices[Of(static_cast<int>(count))];
    }
    XBytes Rest() const noexcept { return m_bytes; }

private:
    XBytes m_bytes;
};

/// Names in the model, and some that are not there at first or never.
inline constexpr const char* FuzzTypes[] = {"Item",  "Equipment", "Pump",   "Valve",  "Document",
                                            "Sheet", "Folder",    "Hidden", "Extra1", "Extra2"};
inline constexpr const char* FuzzAttributes[] = {"Name", "Weight", "Power", "Head", "Title", "Added1", "Added2"};

/// A question to a config factory, answered as one text whoever answers it.
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

/// A cache in client mode in front of a sample server of its own.
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
    /// Requires that the cache gives the server's answer.
    void Compare(const Question& question) const;

private:
    const std::shared_ptr<XSampleServer> m_server;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
};

/// Notifications of every shape, through the manager and straight to cached objects. True: one with a known kind.
bool FuzzDataId(XBytes bytes);
/// Whole operations of a client and edits of the server. True: at least one answer was compared.
bool FuzzOperations(XBytes bytes);

#endif
