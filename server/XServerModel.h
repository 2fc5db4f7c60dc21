// SPDX-License-Identifier: MIT
//
// The sample server's model: the configuration of an object database, and some of its data objects.
//
// Ownership  A model owns its elements; copying the model copies them.
// Threading  Not thread-safe. The server guards its own copy (XServerCore).
// Errors     Duplicate or unknown names and invalid files raise std::invalid_argument.
#ifndef XSERVERMODEL_H
#define XSERVERMODEL_H

#include "XPropertyTable.h"

#include <map>
#include <memory>
#include <optional>
#include <vector>

/// An element in the model. It is copied with the model. The server's objects share it, so that they keep removed
/// elements alive.
template <class T> class XModelRef {
public:
    XModelRef() : m_element(std::make_shared<T>()) {}
    explicit XModelRef(T element) : m_element(std::make_shared<T>(std::move(element))) {}
    XModelRef(const XModelRef& other) : m_element(std::make_shared<T>(*other.m_element)) {}
    XModelRef(XModelRef&&) noexcept = default;
    XModelRef& operator=(XModelRef other) noexcept {
        m_element.swap(other.m_element);
        return *this;
    }
    ~XModelRef() = default;

    /// Shares an existing element.
    static XModelRef Of(std::shared_ptr<T> element) noexcept { return XModelRef(std::move(element)); }

    T* operator->() const noexcept { return m_element.get(); }
    T& operator*() const noexcept { return *m_element; }
    const std::shared_ptr<T>& Share() const noexcept { return m_element; }

private:
    explicit XModelRef(std::shared_ptr<T>&& element) noexcept : m_element(std::move(element)) {}

    std::shared_ptr<T> m_element;
};

template <class T> using XModelList = std::vector<XModelRef<T>>;

/// Common to all elements: property values by index.
template <XElementKind kind> struct XModelElement {
    XModelProperties properties{kind};

    const XModelValue& Value(int index) const { return properties.Get(index); }
    const XLXText& Text(int index) const { return properties.Get(index).AsText(); }
    std::int32_t Number(int index) const { return properties.Get(index).AsLong(); }
};

struct XModelFormat : XModelElement<XElementKind::Format> {};
struct XModelPage : XModelElement<XElementKind::Page> {};
struct XModelEditor : XModelElement<XElementKind::Editor> {};
struct XModelBrowserId : XModelElement<XElementKind::BrowserId> {};
struct XModelPCInfo : XModelElement<XElementKind::PCInfo> {};
struct XModelAttributeType : XModelElement<XElementKind::AttributeType> {};

using XModelFormats = std::map<int, XModelRef<XModelFormat>>; ///< by format type

struct XModelGroup : XModelElement<XElementKind::Group> {
    XModelFormats formats; ///< a group has at most one, under 0
};

struct XModelAttribute : XModelElement<XElementKind::Attribute> {
    XModelList<XModelAttributeType> types;
    XModelFormats formats;

    XModelAttributeType& AddType(const XText& name);
    XModelFormat& AddFormat(int formatType);
};

struct XModelGlobalSpec : XModelElement<XElementKind::GlobalSpec> {
    XModelFormats formats;

    XModelFormat& AddFormat(int formatType);
};

struct XModelRelation : XModelElement<XElementKind::Relation> {
    XModelList<XModelPCInfo> infos;

    XModelPCInfo& AddPCInfo(const XText& browserId, bool isNew = false);
};

struct XModelType : XModelElement<XElementKind::Type> {
    bool listed = true; ///< included in type enumerations
    XModelList<XModelPage> pages;
    XModelList<XModelGroup> groups;
    XModelList<XModelAttribute> attributes; ///< without inherited ones
    XModelList<XModelEditor> editors;

    const XLXText& Name() const { return Text(XProperty::TypeName); }
    const XLXText& Base() const { return Text(XProperty::BaseTypeName); }

    XModelPage& AddPage(int number, const XText& label = "");
    XModelGroup& AddGroup(int number, int page = 0, int parentGroup = 0, const XText& label = "");
    XModelAttribute& AddAttribute(const XText& name, int group = 0);
    XModelEditor& AddEditor(const XText& progId, const XText& browserId, bool isDefault = false,
                            bool isDefaultNew = false);
    const XModelRef<XModelPage>* FindPage(int number) const;
    const XModelRef<XModelGroup>* FindGroup(int number) const;
    const XModelRef<XModelAttribute>* FindAttribute(XLXTextView name) const; ///< without inherited ones
    const XModelRef<XModelEditor>* FindEditor(XLXTextView progId) const;
};

/// The two ends of a relationship object, by object id.
struct XModelEnds {
    XLXText first;
    XLXText second;
};

struct XModelDataObject {
    XLXText id;
    XLXText table;
    XLXText typeName;
    std::map<XLXText, XModelValue> attributes;
    std::map<XLXText, std::vector<XLXText>> children; ///< object ids by child list
    std::optional<XModelEnds> ends;                   ///< of a relationship object
};

struct XServerModel {
    XLXText version = OLESTR("1");
    std::map<XLXText, XModelRef<XModelType>> types;
    XModelList<XModelBrowserId> browserIds;
    XModelList<XModelRelation> relations;
    XModelList<XModelGlobalSpec> specs;
    std::map<XLXText, XModelRef<XModelDataObject>> objects;

    XModelType& AddType(const XText& name, const XText& base = "");
    XModelBrowserId& AddBrowserId(const XText& name);
    XModelRelation& AddRelation(const XText& parent, const XText& child, const XText& childList,
                                int pprRelationType = 0, bool systemInternal = false);
    XModelGlobalSpec& AddGlobalSpec(const XText& propertyId);
    XModelDataObject& AddObject(const XText& id, const XText& typeName, const XText& table = "");
    /// Adds an object to a child list of another one.
    void AddChild(const XText& parentId, const XText& childList, const XText& childId);
    /// Adds a relationship object between two objects, with its attributes.
    XModelDataObject& AddRelationship(const XText& id, const XText& relationName, const XText& firstId,
                                      const XText& secondId);

    /// The type with this name; null if there is none.
    const XModelRef<XModelType>* FindType(XLXTextView name) const;
    const XModelRef<XModelRelation>* FindRelation(XLXTextView parent, XLXTextView child, XLXTextView childList) const;
    const XModelRef<XModelGlobalSpec>* FindGlobalSpec(XLXTextView propertyId) const;
    /// The type and its base types, nearest first. The chain ends before an unknown or repeated base.
    std::vector<const XModelType*> BaseChain(XLXTextView name) const;
    /// Whether a type is another one or derives from it.
    bool Derives(XLXTextView name, XLXTextView ancestor) const;
    /// The attributes of a type by name, including inherited ones; a base's attribute wins.
    std::vector<const XModelRef<XModelAttribute>*> AllAttributes(XLXTextView typeName) const;
};

/// Model files are JSON; docs/sample-server.md describes them. Reading checks names and references.
XServerModel LXReadModel(const std::string& path);
XServerModel LXParseModel(std::string_view json);
std::string LXFormatModel(const XServerModel& model);
void LXWriteModel(const XServerModel& model, const std::string& path);

/// A model of 7 types for tests that depend on each element; the comment at its definition lists them.
XServerModel LXSmallModel();

/// The properties of a generated model.
struct XGeneratorOptions {
    int types = 500;
    int attributesPerType = 20; ///< average, without inherited ones
    int depth = 5;              ///< levels of inheritance
    int relationsPerType = 3;
    int browserIds = 4;
    int globalSpecs = 20;
    std::uint32_t seed = 1;
};

/// A model of any size; the same options give the same model everywhere. Type names are "Type00000" and so on.
XServerModel LXGenerateModel(const XGeneratorOptions& options);

#endif
