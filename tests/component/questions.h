// SPDX-License-Identifier: MIT
//
// Models and arguments for tests, and queries to which a cache and its server must give the same answer.
#ifndef QUESTIONS_H
#define QUESTIONS_H

#include "XLXComVariant.h"
#include "XSampleServer.h"

/// g: group of an attribute:
///     Item         Name g1, Weight g2; pages 1, 2; groups 1 on page 1, 2 on page 1 in group 1, 3 on page 2
///       Equipment  Power g2, Name again with another label
///         Pump     Head g3 with formats 1 and 2; editors "E.Pump", "E.PumpNew"
///     Document     Title; no base
XServerModel LXTestModel();
/// The same types, with relations, plan types, global format specs and data objects.
XServerModel LXLifeModel();

/// The values that an application initialises a cache with.
std::vector<XLXComVariant> LXArguments(const XSampleServer& server, LONG transferMode, bool noNotifications = false,
                                       bool separateCallback = false);

enum class XTopic {
    Types, // these three may still list elements that the server has removed
    SearchableTypes,
    BrowserIds,
    Specs,
    Relations,
    PCInfos,
    TypeValues,
    Pages,
    Editors,
    DefaultEditors, // by browser
    Groups,
    PageGroups,      // by number
    ShownAttributes, // by mask
    GroupAttributes, // by number
    AttributeValues, // this and the following by name
    AttributeFormats,
    AttributeTypes // may also list removed ones
};

struct XInquiry {
    XTopic topic;
    XLXText type = {};
    XLXText name = {};
    int number = 0;
};

/// The answer of a server or a cache: a line for each element, with its values. The lines are sorted, because the two
/// have different orders. All failures give the same line.
std::vector<std::string> LXAnswer(ILXConfigFactory& factory, const XInquiry& inquiry);

/// The question with both answers if they differ, otherwise empty.
std::string LXDifference(ILXConfigFactory& cache, ILXConfigFactory& server, const XInquiry& inquiry);

/// All queries for the elements of a model, and some for elements that it lacks.
std::vector<XInquiry> LXEveryInquiry(const XServerModel& model);

#endif
