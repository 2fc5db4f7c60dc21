/* SPDX-License-Identifier: MIT
 *
 * The properties of configuration objects by index, and the bits of masks, filters and modes, for C and C++. A property
 * is LXP_UNIT in both languages, and lx::Unit too in C++. models/make_properties.py generates this file from
 * models/properties.json.
 *
 * The component itself reads the properties marked with "*", so they mean the same with every server. Each server
 * defines the others; the comments give their meaning in the shipped model and the sample server.
 */
#ifndef LXPROPERTIES_H
#define LXPROPERTIES_H

/* In C++ the enumerations of bits have an underlying type that converts to LONG without a cast. */
#ifdef __cplusplus
#define LX_AS_INT : int
#else
#define LX_AS_INT
#endif

/* Attribute */
enum LXAttributeProperty {
    LXP_ATTRIBUTE_NAME = 0,   /* * The name; attributes are found by it */
    LXP_DATA_TYPE = 1,        /* The kind of its values */
    LXP_LABEL = 2,            /* The text that users see */
    LXP_UNIT = 4,             /* The unit of its values */
    LXP_DESCRIPTION = 5,      /* A longer description */
    LXP_POSITION = 6,         /* The position in its group */
    LXP_SHOW_IN_BROWSER = 7,  /* * Shown in browsers: display bit 4 */
    LXP_SHOW_IN_EDITOR = 8,   /* * Shown in editors: display bit 1 */
    LXP_SHOW_IN_FINDER = 9,   /* * Shown in the finder, unless property 32 is set: display bit 2 */
    LXP_LENGTH = 10,          /* The maximum length of a text */
    LXP_MINIMUM = 13,         /* The minimum value */
    LXP_MAXIMUM = 14,         /* The maximum value */
    LXP_ATTRIBUTE_GROUP = 17, /* * The number of its group; 0 for none */
    LXP_IN_AV_SET = 19,       /* * In the AV set: display bit 32 */
    LXP_PRINTABLE = 28,       /* * Printed: display bit 8 */
    LXP_NOT_IN_FINDER = 32,   /* * Not shown in the finder */
    LXP_FOLDERNAME = 36,      /* The folder */
    LXP_DEFAULT_VALUE = 37,   /* The value in a new object */
    LXP_ORIGIN = 46           /* * Who defined it; 0 is the vendor: display bit 16 */
};

/* Format */
enum LXFormatProperty {
    LXP_FORMAT_NAME = 0,    /* The name */
    LXP_FORMAT_TYPE = 1,    /* The format type by which it is requested */
    LXP_FORMAT_PATTERN = 2, /* The pattern in which a value is written */
    LXP_FORMAT_WIDTH = 10   /* The width in characters */
};

/* GlobalSpec */
enum LXGlobalSpecProperty {
    LXP_SPEC_ID = 0,   /* * The property id; specs are removed by it */
    LXP_SPEC_LABEL = 2 /* The text that users see */
};

/* AttributeType */
enum LXAttributeTypeProperty {
    LXP_ATTRIBUTE_TYPE_LABEL = 0, /* The text that users see */
    LXP_ATTRIBUTE_TYPE_NAME = 3   /* * The name; attribute types are found by it */
};

/* BrowserId */
enum LXBrowserIdProperty {
    LXP_BROWSER_ID_NAME = 0, /* * The id; browsers are found by it, ignoring case */
    LXP_BROWSER_ID_LABEL = 1 /* The text that users see */
};

/* Editor */
enum LXEditorProperty {
    LXP_EDITOR_BROWSER_ID = 0,  /* * The browser in which it opens */
    LXP_DEFAULT_EDITOR = 1,     /* * The default editor of its browser */
    LXP_DEFAULT_NEW_EDITOR = 2, /* * The default editor of its browser for new objects */
    LXP_PROG_ID = 3,            /* * The ProgId; editors are found by it */
    LXP_MENU_TEXT = 4           /* The text of its menu item */
};

/* Group */
enum LXGroupProperty {
    LXP_GROUP_LABEL = 0,  /* The text that users see */
    LXP_GROUP_NUMBER = 2, /* * The number; groups are found by it */
    LXP_GROUP_PAGE = 5,   /* * The number of its page */
    LXP_PARENT_GROUP = 15 /* * The number of its parent group; 0 for none */
};

/* Page */
enum LXPageProperty {
    LXP_PAGE_LABEL = 0, /* The text that users see */
    LXP_PAGE_NUMBER = 6 /* * The number; pages are found by it */
};

/* Relation */
enum LXRelationProperty {
    LXP_CHILD_LIST = 0,         /* * The child list */
    LXP_CHILD_NAME = 1,         /* * The child's type */
    LXP_SYSTEM_INTERNAL = 14,   /* * Internal to the system: filter bit 16 */
    LXP_PARENT_NAME = 19,       /* * The parent's type */
    LXP_PPR_RELATION_TYPE = 20, /* * The kind of PPR relation; 0 for none: filter bits 4 and 8 */
    LXP_NAME_SHORT = 21         /* * The short name from its plan type */
};

/* PCInfo */
enum LXPCInfoProperty {
    LXP_PC_INFO_LABEL = 0,   /* The text that users see */
    LXP_PC_INFO_BROWSER = 1, /* * The browser in which the relation is shown */
    LXP_PC_INFO_NEW = 6      /* * Other than 0 if it is for new objects; filter bit 1 */
};

/* Type */
enum LXTypeProperty {
    LXP_TYPE_NAME = 0,        /* * The name; types are found by it */
    LXP_TYPE_LABEL = 1,       /* The text that users see */
    LXP_BASE_TYPE_NAME = 2,   /* * The name of the base type; empty for none */
    LXP_TYPE_DESCRIPTION = 3, /* A longer description */
    LXP_TYPE_TABLE = 4,       /* The table of its objects */
    LXP_TYPE_ICON = 5,        /* The icon */
    LXP_SEARCHABLE = 14,      /* * Whether its objects can be searched for */
    LXP_BASE_TYPE = 27        /* * The base type as an object; the cache has it, a server need not */
};

/* The displays whose attributes ILXType::GetDisplayAttributeEnum returns; 0 for all attributes. */
enum LXDisplay LX_AS_INT {
    LXD_EDITOR = 1,         /* shown in editors */
    LXD_FINDER = 2,         /* shown in the finder */
    LXD_BROWSER = 4,        /* shown in browsers */
    LXD_PRINTABLE = 8,      /* printed */
    LXD_VENDORDEFINED = 16, /* defined by the vendor */
    LXD_INAVSET = 32        /* in the AV set */
};

/* The relations that an enumeration contains (ILXConfigFactoryCache::GetPCEnum2, GetPCEnumAll). */
enum LXPCFilter LX_AS_INT {
    LXPCF_NONE = 0,             /* all relations */
    LXPCF_NEWONLY = 1,          /* only relations with a PC info; if a browser is given, with one for that browser */
    LXPCF_WITHPLANTYPES = 2,    /* also the relations that plan types allow */
    LXPCF_PPRONLY = 4,          /* only PPR relations */
    LXPCF_NOPPR = 8,            /* no PPR relations */
    LXPCF_NOSYSTEMINTERNAL = 16 /* no relations that are internal to the system */
};

/* The data transfer mode: the components that a server delivers in bulk. */
enum LXTransferMode LX_AS_INT {
    LXTM_ATTRIBUTES = 1, /* attributes with their attribute types */
    LXTM_GROUPS = 2,     /* groups */
    LXTM_PAGES = 4,      /* pages */
    LXTM_EDITORS = 8,    /* editors */
    LXTM_UNSET = -1      /* not set */
};

/* The update mode, the last field of a notification's data id: the data that changed. Bits may be combined; a mode
 * below 1 means that anything may have changed. */
enum LXUpdateMode LX_AS_INT {
    LXUM_EVERYTHING = 1,          /* everything */
    LXUM_TYPES = 2,               /* types */
    LXUM_PARENTCHILD = 4,         /* relations */
    LXUM_BROWSERIDS = 8,          /* browser ids */
    LXUM_FORMATS = 16,            /* formats */
    LXUM_PAGES = 32,              /* pages */
    LXUM_GROUPS = 64,             /* groups */
    LXUM_EDITORS = 128,           /* editors */
    LXUM_GLOBALFORMATSPECS = 256, /* global format specs */
    LXUM_ATTRIBUTES = 512,        /* attributes */
    LXUM_ATTRIBUTETYPES = 1024,   /* attribute types */
    LXUM_ATTRIBUTEFORMATS = 2048, /* formats of attributes */
    LXUM_GROUPFORMATS = 4096      /* formats of groups */
};

#undef LX_AS_INT

#ifdef __cplusplus
namespace lx {
inline constexpr int AttributeName = LXP_ATTRIBUTE_NAME;
inline constexpr int DataType = LXP_DATA_TYPE;
inline constexpr int Label = LXP_LABEL;
inline constexpr int Unit = LXP_UNIT;
inline constexpr int Description = LXP_DESCRIPTION;
inline constexpr int Position = LXP_POSITION;
inline constexpr int ShowInBrowser = LXP_SHOW_IN_BROWSER;
inline constexpr int ShowInEditor = LXP_SHOW_IN_EDITOR;
inline constexpr int ShowInFinder = LXP_SHOW_IN_FINDER;
inline constexpr int Length = LXP_LENGTH;
inline constexpr int Minimum = LXP_MINIMUM;
inline constexpr int Maximum = LXP_MAXIMUM;
inline constexpr int AttributeGroup = LXP_ATTRIBUTE_GROUP;
inline constexpr int InAvSet = LXP_IN_AV_SET;
inline constexpr int Printable = LXP_PRINTABLE;
inline constexpr int NotInFinder = LXP_NOT_IN_FINDER;
inline constexpr int Foldername = LXP_FOLDERNAME;
inline constexpr int DefaultValue = LXP_DEFAULT_VALUE;
inline constexpr int Origin = LXP_ORIGIN;
inline constexpr int FormatName = LXP_FORMAT_NAME;
inline constexpr int FormatType = LXP_FORMAT_TYPE;
inline constexpr int FormatPattern = LXP_FORMAT_PATTERN;
inline constexpr int FormatWidth = LXP_FORMAT_WIDTH;
inline constexpr int SpecId = LXP_SPEC_ID;
inline constexpr int SpecLabel = LXP_SPEC_LABEL;
inline constexpr int AttributeTypeLabel = LXP_ATTRIBUTE_TYPE_LABEL;
inline constexpr int AttributeTypeName = LXP_ATTRIBUTE_TYPE_NAME;
inline constexpr int BrowserIdName = LXP_BROWSER_ID_NAME;
inline constexpr int BrowserIdLabel = LXP_BROWSER_ID_LABEL;
inline constexpr int EditorBrowserId = LXP_EDITOR_BROWSER_ID;
inline constexpr int DefaultEditor = LXP_DEFAULT_EDITOR;
inline constexpr int DefaultNewEditor = LXP_DEFAULT_NEW_EDITOR;
inline constexpr int ProgId = LXP_PROG_ID;
inline constexpr int MenuText = LXP_MENU_TEXT;
inline constexpr int GroupLabel = LXP_GROUP_LABEL;
inline constexpr int GroupNumber = LXP_GROUP_NUMBER;
inline constexpr int GroupPage = LXP_GROUP_PAGE;
inline constexpr int ParentGroup = LXP_PARENT_GROUP;
inline constexpr int PageLabel = LXP_PAGE_LABEL;
inline constexpr int PageNumber = LXP_PAGE_NUMBER;
inline constexpr int ChildList = LXP_CHILD_LIST;
inline constexpr int ChildName = LXP_CHILD_NAME;
inline constexpr int SystemInternal = LXP_SYSTEM_INTERNAL;
inline constexpr int ParentName = LXP_PARENT_NAME;
inline constexpr int PPRRelationType = LXP_PPR_RELATION_TYPE;
inline constexpr int NameShort = LXP_NAME_SHORT;
inline constexpr int PCInfoLabel = LXP_PC_INFO_LABEL;
inline constexpr int PCInfoBrowser = LXP_PC_INFO_BROWSER;
inline constexpr int PCInfoNew = LXP_PC_INFO_NEW;
inline constexpr int TypeName = LXP_TYPE_NAME;
inline constexpr int TypeLabel = LXP_TYPE_LABEL;
inline constexpr int BaseTypeName = LXP_BASE_TYPE_NAME;
inline constexpr int TypeDescription = LXP_TYPE_DESCRIPTION;
inline constexpr int TypeTable = LXP_TYPE_TABLE;
inline constexpr int TypeIcon = LXP_TYPE_ICON;
inline constexpr int Searchable = LXP_SEARCHABLE;
inline constexpr int BaseType = LXP_BASE_TYPE;
} // namespace lx
#endif

#endif
