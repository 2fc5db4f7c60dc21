// SPDX-License-Identifier: MIT
#include "XBulkArrays.h"

#include <algorithm>

namespace {
constexpr ULONG AttributeValues = 60;
constexpr ULONG AttributeTypeValues = 7;

struct Header {
    LONG algorithm;
    LONG wrapper;
};
constexpr Header TypeHeader{1, 0};
constexpr Header RelationHeader{2, 1};
constexpr Header ComponentHeader{4, 4};

/// A cursor over the elements of an array. Its errors name the current position.
class Walk {
public:
    explicit Walk(std::span<const VARIANT> elements) : m_elements(elements), m_end(elements.size()) {}

    /// Sets the section that is read next and its owner, for error messages.
    void At(std::string section) { m_section = std::move(section); }
    void Of(std::string owner) { m_owner = std::move(owner); }
    const std::string& Owner() const { return m_owner; }
    std::size_t Left() const { return m_end - m_next; }

    std::span<const VARIANT> Values(std::size_t count, const char* what) {
        if (count > Left()) {
            Refuse(XRule::ArrayCounts, std::string(what) + ": " + std::to_string(count) + " elements should follow, " +
                                           std::to_string(Left()) + " are left");
        }
        const auto values = m_elements.subspan(m_next, count);
        m_next += count;
        return values;
    }
    const VARIANT& Element(VARTYPE type, const char* what) {
        const VARIANT& element = Values(1, what).front();
        if (V_VT(&element) != type) {
            --m_next; // report the position of this element
            Refuse(XRule::ArrayElements,
                   std::string(what) + " should be " + LXTypeText(type) + ", came " + LXValueText(element));
        }
        return element;
    }
    LONG Number(const char* what) { return V_I4(&Element(VT_I4, what)); }
    ULONG Index(const char* what) { return V_UI4(&Element(VT_UI4, what)); }
    bool Flag(const char* what) { return V_BOOL(&Element(VT_BOOL, what)) != VARIANT_FALSE; }
    std::string Name(const char* what) { return LXNameIn(Element(VT_BSTR, what)); }
    IUnknown* Object(const char* what) { return V_UNKNOWN(&Element(VT_UNKNOWN, what)); }

    /// Reads a count and checks that as many elements are left.
    std::size_t Count(const char* what) {
        const LONG count = Number(what);
        if (count < 0) { Refuse(XRule::ArrayCounts, std::string(what) + " is " + std::to_string(count)); }
        return Fitting(static_cast<ULONG>(count), what);
    }
    std::size_t MapCount(const char* what) { return Fitting(Index(what), what); }

    /// Limits reading to the next elements, a sub-array. Returns the previous end, for Widen.
    std::size_t Narrow(std::size_t count) { return std::exchange(m_end, m_next + count); }
    /// Skips to the end of the sub-array and restores the previous end.
    void Widen(std::size_t end) {
        m_next = m_end;
        m_end = end;
    }

    [[noreturn]] void Refuse(XRule rule, const std::string& what) const {
        throw XArrayRefusal{rule, "element " + std::to_string(m_next) + " of " + std::to_string(m_elements.size()) +
                                      " (" + m_section + (m_owner.empty() ? "" : ", " + m_owner) + "): " + what};
    }

private:
    std::size_t Fitting(ULONG count, const char* what) const {
        if (count > Left()) {
            Refuse(XRule::ArrayCounts, std::string(what) + " is " + std::to_string(count) + ", but " +
                                           std::to_string(Left()) + " elements are left");
        }
        return count;
    }

    std::span<const VARIANT> m_elements;
    std::size_t m_end;
    std::size_t m_next = 0;
    std::string m_section = "header";
    std::string m_owner;
};

std::string Joined(const std::string& owner, const std::string& part) {
    return owner.empty() ? part : owner + ", " + part;
}

void ReadHeader(Walk& walk, Header expected) {
    const LONG algorithm = walk.Number("the algorithm");
    const LONG wrapper = walk.Number("the wrapper");
    if (algorithm != expected.algorithm || wrapper != expected.wrapper) {
        walk.Refuse(XRule::ArrayHeader, "algorithm and wrapper should be " + std::to_string(expected.algorithm) +
                                            " and " + std::to_string(expected.wrapper) + ", came " +
                                            std::to_string(algorithm) + " and " + std::to_string(wrapper));
    }
}

/// Reads an object and the vector of its values.
XReadRecord ReadRecord(Walk& walk, XElementKind kind) {
    XReadRecord record;
    record.kind = kind;
    record.object = walk.Object("the object");
    record.values = walk.Values(walk.Count("the count of values"), "values");
    record.path = Joined(walk.Owner(), std::string(LXKindName(kind)) + " " + LXQuoted(record.Key()));
    return record;
}

/// Reads a sub-array with a vector of records.
std::vector<XReadRecord> ReadList(Walk& walk, XElementKind kind, const char* section) {
    walk.At(section);
    const std::size_t end = walk.Narrow(walk.Count("the count of elements"));
    std::vector<XReadRecord> records;
    for (std::size_t left = walk.Count("the count of records"); left != 0; --left) {
        records.push_back(ReadRecord(walk, kind));
    }
    walk.Widen(end);
    return records;
}

XReadRecord ReadAttribute(Walk& walk) {
    XReadRecord attribute;
    attribute.kind = XElementKind::Attribute;
    attribute.object = walk.Object("the object");
    attribute.values = walk.Values(AttributeValues, "the values of an attribute");
    const std::string owner = walk.Owner();
    attribute.path = Joined(owner, "attribute " + LXQuoted(attribute.Key()));
    walk.Of(attribute.path);
    walk.At("attribute types");
    for (std::size_t left = walk.Count("the count of attribute types"); left != 0; --left) {
        XReadRecord type;
        type.kind = XElementKind::AttributeType;
        type.values = walk.Values(AttributeTypeValues, "the values of an attribute type");
        type.object = walk.Object("the object of an attribute type");
        type.path = attribute.path + ", attribute type " + LXQuoted(type.Key());
        attribute.types.push_back(std::move(type));
    }
    walk.Of(owner);
    walk.At("attributes");
    return attribute;
}

std::vector<XReadRecord> ReadAttributes(Walk& walk) {
    walk.At("attributes");
    const std::size_t end = walk.Narrow(walk.Count("the count of elements"));
    std::vector<XReadRecord> attributes;
    while (walk.Left() != 0) {
        attributes.push_back(ReadAttribute(walk));
    }
    walk.Widen(end);
    return attributes;
}

XReadComponents ReadComponents(Walk& walk) {
    XReadComponents components;
    walk.At("component flags");
    const bool pages = walk.Index("the flag of pages") != 0;
    const bool groups = walk.Index("the flag of groups") != 0;
    const bool editors = walk.Index("the flag of editors") != 0;
    if (pages) { components.pages = ReadList(walk, XElementKind::Page, "pages"); }
    if (groups) { components.groups = ReadList(walk, XElementKind::Group, "groups"); }
    if (editors) { components.editors = ReadList(walk, XElementKind::Editor, "editors"); }
    walk.At("component flags");
    if (walk.Index("the flag of attributes") != 0) { components.attributes = ReadAttributes(walk); }
    return components;
}

XReadType ReadType(Walk& walk) {
    XReadType type;
    walk.Of("");
    walk.At("types");
    type.index = walk.Index("the index of a record");
    type.head = ReadRecord(walk, XElementKind::Type);
    walk.Of(type.head.path);
    type.components = ReadComponents(walk);
    walk.At("types");
    type.base = walk.Number("the index of the base type");
    type.listed = walk.Flag("whether it is listed");
    type.searchable = walk.Flag("whether it is searchable");
    return type;
}

/// Runs a read function and turns an XArrayRefusal into a finding. On success all rules for arrays count as kept.
template <class F> bool Reading(XFindings& findings, const std::string& call, F&& read) {
    try {
        read();
    } catch (const XArrayRefusal& refusal) {
        findings.Broken(refusal.rule, call, refusal.what);
        return false;
    }
    for (const XRule rule : {XRule::ArrayShape, XRule::ArrayHeader, XRule::ArrayElements, XRule::ArrayCounts}) {
        findings.Kept(rule);
    }
    return true;
}
} // namespace

std::string XReadRecord::Text(int index) const {
    const auto at = static_cast<std::size_t>(index);
    return at < values.size() ? LXNameIn(values[at]) : "";
}

std::string XReadRecord::Key() const {
    const auto at = static_cast<std::size_t>(LXKeyOf(kind));
    return at < values.size() ? LXKeyText(values[at]) : "";
}

XOpenArray::XOpenArray(SAFEARRAY* array) : m_array(array) {
    VARTYPE type = VT_EMPTY;
    const UINT dimensions = SafeArrayGetDim(array);
    if (dimensions != 1 || FAILED(SafeArrayGetVartype(array, &type)) || type != VT_VARIANT ||
        SafeArrayGetElemsize(array) != sizeof(VARIANT)) {
        throw XArrayRefusal{XRule::ArrayShape,
                            std::to_string(dimensions) + " dimensions, of " + LXTypeText(type) + " elements"};
    }
    LONG lower = 0;
    LONG upper = -1;
    void* data = nullptr;
    const bool open = SUCCEEDED(SafeArrayGetLBound(array, 1, &lower)) &&
                      SUCCEEDED(SafeArrayGetUBound(array, 1, &upper)) && SUCCEEDED(SafeArrayAccessData(array, &data));
    const ULONG count = static_cast<ULONG>(upper) - static_cast<ULONG>(lower) + 1U;
    if (!open || (data == nullptr && count != 0)) {
        throw XArrayRefusal{XRule::ArrayShape, "the elements cannot be reached"};
    }
    m_elements = {static_cast<const VARIANT*>(data), data != nullptr ? count : 0};
}

XOpenArray::~XOpenArray() { SafeArrayUnaccessData(m_array.Get()); }

const XReadType* XReadTypes::Find(const std::string& name) const {
    const auto found = byName.find(name);
    return found != byName.end() ? &records[found->second] : nullptr;
}

std::optional<XReadTypes> LXReadTypes(SAFEARRAY* array, XFindings& findings, const std::string& call) {
    XReadTypes types;
    const bool done = Reading(findings, call, [&] {
        types.array = std::make_shared<XOpenArray>(array);
        Walk walk(types.array->Elements());
        ReadHeader(walk, TypeHeader);
        walk.At("counts");
        const std::size_t names = walk.MapCount("the count of names");
        const std::size_t records = walk.MapCount("the count of records");
        walk.At("names");
        for (std::size_t i = 0; i < names; ++i) {
            std::string name = walk.Name("a name");
            types.names.emplace_back(std::move(name), walk.Index("the index of a name"));
        }
        for (std::size_t i = 0; i < records; ++i) {
            types.records.push_back(ReadType(walk));
            types.byName.emplace(types.records.back().head.Key(), i);
        }
    });
    return done ? std::optional(std::move(types)) : std::nullopt;
}

std::optional<XReadArray<XReadComponents>> LXReadComponents(SAFEARRAY* array, const std::string& type,
                                                            XFindings& findings, const std::string& call) {
    XReadArray<XReadComponents> read;
    const bool done = Reading(findings, call, [&] {
        read.array = std::make_shared<XOpenArray>(array);
        Walk walk(read.array->Elements());
        walk.Of("type " + LXQuoted(type));
        ReadHeader(walk, ComponentHeader);
        read.content = ReadComponents(walk);
    });
    return done ? std::optional(std::move(read)) : std::nullopt;
}

std::optional<XReadArray<std::vector<XReadRecord>>> LXReadRelations(SAFEARRAY* array, XFindings& findings,
                                                                    const std::string& call) {
    XReadArray<std::vector<XReadRecord>> read;
    const bool done = Reading(findings, call, [&] {
        read.array = std::make_shared<XOpenArray>(array);
        Walk walk(read.array->Elements());
        ReadHeader(walk, RelationHeader);
        walk.At("relations");
        for (std::size_t left = walk.Count("the count of relations"); left != 0; --left) {
            read.content.push_back(ReadRecord(walk, XElementKind::Relation));
        }
    });
    return done ? std::optional(std::move(read)) : std::nullopt;
}

std::optional<XReadArray<std::span<const VARIANT>>> LXReadValues(SAFEARRAY* array, XFindings& findings,
                                                                 const std::string& call) {
    XReadArray<std::span<const VARIANT>> read;
    const bool done = Reading(findings, call, [&] {
        read.array = std::make_shared<XOpenArray>(array);
        read.content = read.array->Elements();
    });
    return done ? std::optional(std::move(read)) : std::nullopt;
}
