// SPDX-License-Identifier: MIT
//
// The small model and generated models, for tests and benchmarks. The same options give the same model on every
// platform: only integer arithmetic and a random number generator of this file are used.
#include "XServerModel.h"

#include <algorithm>
#include <cstdio>

namespace {
/// Pseudo-random numbers (xorshift).
class XNumbers {
public:
    explicit XNumbers(std::uint32_t seed) noexcept : m_state(seed * 2654435761u + 1u) {
        m_state = m_state != 0 ? m_state : 1;
    }

    /// A number from 0 to limit - 1.
    int Below(int limit) noexcept {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return static_cast<int>((m_state >> 8) % static_cast<std::uint32_t>(std::max(limit, 1)));
    }
    bool OneIn(int n) noexcept { return Below(n) == 0; }

private:
    std::uint32_t m_state;
};

std::string Numbered(const char* prefix, int number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%05d", number);
    return std::string(prefix) + digits;
}

/// A size distribution as in real configurations: of ten types, six have half the average, three the average, and one
/// four times as much.
int Spread(XNumbers& numbers, int average) {
    const int tenth = numbers.Below(10);
    const int center = tenth < 6 ? average / 2 : tenth < 9 ? average : average * 4;
    return center == 0 ? 0 : center - center / 4 + numbers.Below(center / 2 + 1);
}

void FillAttribute(XNumbers& numbers, XModelAttribute& attribute, int position) {
    XModelProperties& p = attribute.properties;
    p.Set(XProperty::Label, "Label of " + LXToUtf8(p.Get(XProperty::AttributeName).AsText()));
    p.Set(XProperty::Position, position);
    p.Set(XProperty::DataType, 1 + numbers.Below(6));
    p.Set(XProperty::ShowInEditor, !numbers.OneIn(4));
    p.Set(XProperty::ShowInFinder, numbers.OneIn(2));
    p.Set(XProperty::ShowInBrowser, numbers.OneIn(2));
    p.Set(XProperty::NotInFinder, numbers.OneIn(10));
    p.Set(XProperty::Printable, numbers.OneIn(3));
    p.Set(XProperty::InAvSet, numbers.OneIn(8));
    p.Set(XProperty::Origin, numbers.OneIn(3) ? 1 : 0);
    for (int i = numbers.OneIn(5) ? 1 + numbers.Below(3) : 0; i > 0; --i) {
        attribute.AddType(Numbered("Value", i));
    }
    if (numbers.OneIn(10)) { attribute.AddFormat(numbers.Below(3)).properties.Set(XProperty::Label, "0.00"); }
}

void FillType(XNumbers& numbers, XModelType& type, int number, const XGeneratorOptions& options) {
    const int groups = 2 + numbers.Below(6);
    const int pages = 1 + numbers.Below(3);
    for (int page = 1; page <= pages; ++page) {
        type.AddPage(page, Numbered("Page", page));
    }
    for (int group = 1; group <= groups; ++group) {
        type.AddGroup(group, 1 + numbers.Below(pages), group > 2 ? numbers.Below(3) : 0, Numbered("Group", group));
    }
    const int attributes = Spread(numbers, options.attributesPerType);
    for (int i = 0; i < attributes; ++i) {
        const std::string name = Numbered("T", number) + Numbered("A", i);
        FillAttribute(numbers, type.AddAttribute(name, numbers.Below(groups + 1)), i);
    }
    for (int i = numbers.Below(3); i > 0 && options.browserIds > 0; --i) {
        const std::string browser = Numbered("Browser", numbers.Below(options.browserIds));
        type.AddEditor(Numbered("Editor", i) + "." + Numbered("Type", number), browser, i == 1, i == 1);
    }
    type.properties.Set(XProperty::Searchable, !numbers.OneIn(6));
    type.listed = !numbers.OneIn(20);
}

/// Relations of a type with distinct children.
void AddRelations(XNumbers& numbers, XServerModel& model, int number, const XGeneratorOptions& options) {
    const int count = std::min(options.relationsPerType, options.types);
    const int first = numbers.Below(options.types);
    for (int i = 0; i < count; ++i) {
        XModelRelation& relation = *model.relations.emplace_back();
        XModelProperties& p = relation.properties;
        p.Set(XProperty::ParentName, Numbered("Type", number));
        p.Set(XProperty::ChildName, Numbered("Type", (first + i) % options.types));
        p.Set(XProperty::ChildList, i % 3 == 2 ? "documents" : "nodes");
        p.Set(XProperty::PPRRelationType, numbers.OneIn(6) ? 1 + numbers.Below(3) : 0);
        p.Set(XProperty::SystemInternal, numbers.OneIn(12));
        for (int browser = 0; browser < options.browserIds; ++browser) {
            if (numbers.OneIn(2)) { relation.AddPCInfo(Numbered("Browser", browser), numbers.OneIn(2)); }
        }
    }
}
} // namespace

XServerModel LXGenerateModel(const XGeneratorOptions& options) {
    XNumbers numbers(options.seed);
    XServerModel model;
    for (int i = 0; i < options.browserIds; ++i) {
        model.AddBrowserId(Numbered("Browser", i));
    }
    const int depth = std::max(options.depth, 1);
    for (int i = 0; i < options.types; ++i) {
        // The first types are a chain; a later one derives from any earlier type of the level above its own.
        const int level = i % depth;
        const int base = level == 0 ? -1 : i - 1 - depth * numbers.Below(i / depth + 1);
        FillType(numbers, model.AddType(Numbered("Type", i), base < 0 ? "" : Numbered("Type", base)), i, options);
    }
    for (int i = 0; i < options.types; ++i) {
        AddRelations(numbers, model, i, options);
    }
    for (int i = 0; i < options.globalSpecs; ++i) {
        model.AddGlobalSpec(Numbered("Spec", i)).AddFormat(i % 3).properties.Set(XProperty::Label, "0.0");
    }
    return model;
}

namespace {
// Object <- Equipment <- Pump <- CentrifugalPump, Equipment <- Vessel, Document, Hidden (not listed). "Weight" is
// defined by Equipment and again by Pump: Equipment's wins.
void AddEquipment(XServerModel& model) {
    XModelType& object = model.AddType("Object");
    object.AddPage(1, "General");
    object.AddGroup(1, 1, 0, "Identity");
    object.AddAttribute("Name", 1).properties.Set(XProperty::ShowInEditor, true);
    object.AddAttribute("Owner", 1).properties.Set(XProperty::Origin, 1);

    XModelType& equipment = model.AddType("Equipment", "Object");
    equipment.AddAttribute("Tag", 1).properties.Set(XProperty::ShowInFinder, true);
    XModelAttribute& weight = equipment.AddAttribute("Weight", 2);
    weight.properties.Set(XProperty::Unit, "kg");
    weight.AddFormat(1).properties.Set(XProperty::Label, "0.0");

    XModelType& pump = model.AddType("Pump", "Equipment");
    pump.AddPage(1, "General");
    pump.AddPage(2, "Drive");
    pump.AddGroup(1, 1, 0, "Identity");
    pump.AddGroup(2, 1, 0, "Mechanical");
    pump.AddGroup(3, 2, 2, "Motor").formats.try_emplace(0);
    XModelAttribute& power = pump.AddAttribute("Power", 3);
    power.properties.Set(XProperty::Printable, true);
    power.AddType("kW");
    power.AddType("hp");
    pump.AddAttribute("Weight", 3).properties.Set(XProperty::Unit, "t");
    XModelAttribute& secret = pump.AddAttribute("Serial", 2);
    secret.properties.Set(XProperty::ShowInFinder, true);
    secret.properties.Set(XProperty::NotInFinder, true);
    secret.properties.Set(XProperty::InAvSet, true);
    pump.AddEditor("Pump.Sheet", "Tree", true, false);
    pump.AddEditor("Pump.Wizard", "Tree", false, true);

    model.AddType("CentrifugalPump", "Pump").AddAttribute("Impeller", 2);
    model.AddType("Vessel", "Equipment").properties.Set(XProperty::Searchable, false);
    model.AddType("Document").AddAttribute("Title");
    model.AddType("Hidden").listed = false;
}
} // namespace

// Browser ids Tree and List; the types above; relations Object/Equipment "nodes" (PC infos Tree and List, List new),
// Equipment/Document "documents" (PC info Tree), Pump/Vessel "feeds" (PPR 1) and Pump/Vessel "feeds_reverse" (PPR 2,
// system-internal); global spec "Length" with a format of type 0; data objects P1 (a CentrifugalPump) and V1 (a
// Vessel) with the relationship R1 "feeds" from P1 to V1.
XServerModel LXSmallModel() {
    XServerModel model;
    model.AddBrowserId("Tree");
    model.AddBrowserId("List");
    AddEquipment(model);
    XModelRelation& nodes = model.AddRelation("Object", "Equipment", "nodes");
    nodes.AddPCInfo("Tree");
    nodes.AddPCInfo("List", true);
    model.AddRelation("Equipment", "Document", "documents").AddPCInfo("Tree");
    model.AddRelation("Pump", "Vessel", "feeds", 1);
    model.AddRelation("Pump", "Vessel", "feeds_reverse", 2, true);
    model.AddGlobalSpec("Length").AddFormat(0).properties.Set(XProperty::Label, "0.000");
    model.AddObject("P1", "CentrifugalPump");
    model.AddObject("V1", "Vessel");
    model.AddRelationship("R1", "feeds", "P1", "V1");
    return model;
}
