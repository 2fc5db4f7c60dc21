-- SPDX-License-Identifier: MIT
--
-- A configuration in tables. Any program may edit it; the servers over it detect changes.
--
--     UPDATE attribute SET unit = 'l/s' WHERE type = 'Pump' AND name = 'RatedFlow';
--
-- A column is a property; the table "property" maps columns to property indexes. Servers also deliver a new column that
-- has a row there. Its declared type (BOOLEAN, INTEGER, REAL or TEXT) is the type of its values. Null is an empty
-- value.
PRAGMA journal_mode = WAL; -- servers read while other programs write

CREATE TABLE browser_id (
    name  TEXT PRIMARY KEY,
    label TEXT NOT NULL DEFAULT ''
);
CREATE TABLE type (
    name        TEXT PRIMARY KEY,
    base        TEXT,             -- null: no base type
    label       TEXT    NOT NULL DEFAULT '',
    description TEXT    NOT NULL DEFAULT '',
    table_name  TEXT    NOT NULL DEFAULT '',
    icon        TEXT    NOT NULL DEFAULT '',
    searchable  BOOLEAN NOT NULL DEFAULT 1,
    listed      BOOLEAN NOT NULL DEFAULT 1 -- included in type enumerations
);
CREATE TABLE page (
    type   TEXT    NOT NULL,
    number INTEGER NOT NULL,
    label  TEXT    NOT NULL DEFAULT '',
    PRIMARY KEY (type, number)
);
CREATE TABLE attribute_group (
    type   TEXT    NOT NULL,
    number INTEGER NOT NULL,
    page   INTEGER NOT NULL DEFAULT 0,
    parent INTEGER NOT NULL DEFAULT 0, -- the parent group; 0 for none
    label  TEXT    NOT NULL DEFAULT '',
    PRIMARY KEY (type, number)
);
CREATE TABLE group_format (
    type         TEXT    NOT NULL,
    group_number INTEGER NOT NULL,
    pattern      TEXT    NOT NULL DEFAULT '',
    width        INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (type, group_number)
);
CREATE TABLE editor (
    type           TEXT    NOT NULL,
    prog_id        TEXT    NOT NULL,
    browser        TEXT    NOT NULL DEFAULT '',
    is_default     BOOLEAN NOT NULL DEFAULT 0,
    is_default_new BOOLEAN NOT NULL DEFAULT 0, -- for new objects
    menu           TEXT    NOT NULL DEFAULT '',
    PRIMARY KEY (type, prog_id)
);
CREATE TABLE attribute (
    type          TEXT    NOT NULL,
    name          TEXT    NOT NULL,
    data_type     INTEGER NOT NULL DEFAULT 2,
    label         TEXT    NOT NULL DEFAULT '',
    unit          TEXT    NOT NULL DEFAULT '',
    description   TEXT    NOT NULL DEFAULT '',
    position      INTEGER NOT NULL DEFAULT 1,
    in_browser    BOOLEAN NOT NULL DEFAULT 1,
    in_editor     BOOLEAN NOT NULL DEFAULT 0,
    in_finder     BOOLEAN NOT NULL DEFAULT 0,
    not_in_finder BOOLEAN NOT NULL DEFAULT 0,
    in_av_set     BOOLEAN NOT NULL DEFAULT 0,
    printable     BOOLEAN NOT NULL DEFAULT 0,
    length        INTEGER NOT NULL DEFAULT 0,
    minimum       REAL    NOT NULL DEFAULT 0,
    maximum       REAL    NOT NULL DEFAULT 0,
    group_number  INTEGER NOT NULL DEFAULT 0,
    default_value TEXT    NOT NULL DEFAULT '',
    origin        INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (type, name)
);
CREATE TABLE attribute_type (
    type      TEXT    NOT NULL,
    attribute TEXT    NOT NULL,
    name      TEXT    NOT NULL,
    label     TEXT    NOT NULL DEFAULT '',
    data_type INTEGER,
    PRIMARY KEY (type, attribute, name)
);
CREATE TABLE attribute_format (
    type        TEXT    NOT NULL,
    attribute   TEXT    NOT NULL,
    format_type INTEGER NOT NULL,
    pattern     TEXT    NOT NULL DEFAULT '',
    width       INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (type, attribute, format_type)
);
CREATE TABLE relation (
    parent   TEXT    NOT NULL,
    child    TEXT    NOT NULL,
    list     TEXT    NOT NULL DEFAULT '',
    ppr      INTEGER NOT NULL DEFAULT 0,
    internal BOOLEAN NOT NULL DEFAULT 0,
    label    TEXT    NOT NULL DEFAULT '',
    PRIMARY KEY (parent, child, list)
);
CREATE TABLE pc_info (
    parent  TEXT    NOT NULL,
    child   TEXT    NOT NULL,
    list    TEXT    NOT NULL DEFAULT '',
    browser TEXT    NOT NULL,
    label   TEXT    NOT NULL DEFAULT '',
    is_new  INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (parent, child, list, browser)
);
CREATE TABLE global_spec (
    id    TEXT PRIMARY KEY,
    label TEXT NOT NULL DEFAULT ''
);
CREATE TABLE global_spec_format (
    spec        TEXT    NOT NULL,
    format_type INTEGER NOT NULL,
    pattern     TEXT    NOT NULL DEFAULT '',
    width       INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY (spec, format_type)
);

-- The property index of each column. Key columns are not listed.
CREATE TABLE property (
    tbl TEXT    NOT NULL,
    col TEXT    NOT NULL,
    idx INTEGER NOT NULL,
    PRIMARY KEY (tbl, col)
);
INSERT INTO property (tbl, col, idx) VALUES
    ('browser_id', 'label', 1),
    ('type', 'label', 1), ('type', 'base', 2), ('type', 'description', 3), ('type', 'table_name', 4),
    ('type', 'icon', 5), ('type', 'searchable', 14),
    ('page', 'label', 0),
    ('attribute_group', 'label', 0), ('attribute_group', 'page', 5), ('attribute_group', 'parent', 15),
    ('group_format', 'pattern', 2), ('group_format', 'width', 10),
    ('editor', 'browser', 0), ('editor', 'is_default', 1), ('editor', 'is_default_new', 2), ('editor', 'menu', 4),
    ('attribute', 'data_type', 1), ('attribute', 'label', 2), ('attribute', 'unit', 4),
    ('attribute', 'description', 5), ('attribute', 'position', 6), ('attribute', 'in_browser', 7),
    ('attribute', 'in_editor', 8), ('attribute', 'in_finder', 9), ('attribute', 'length', 10),
    ('attribute', 'minimum', 13), ('attribute', 'maximum', 14), ('attribute', 'group_number', 17),
    ('attribute', 'in_av_set', 19), ('attribute', 'printable', 28), ('attribute', 'not_in_finder', 32),
    ('attribute', 'default_value', 37), ('attribute', 'origin', 46),
    ('attribute_type', 'label', 0), ('attribute_type', 'data_type', 1),
    ('attribute_format', 'pattern', 2), ('attribute_format', 'width', 10),
    ('relation', 'internal', 14), ('relation', 'ppr', 20), ('relation', 'label', 21),
    ('pc_info', 'label', 0), ('pc_info', 'is_new', 6),
    ('global_spec', 'label', 2),
    ('global_spec_format', 'pattern', 2), ('global_spec_format', 'width', 10);

-- The log of changes: the table, and the key columns of the changed element in the order of the table's primary key.
-- Servers read the rows that are newer than the last one they have read. The newest 10,000 rows are kept.
CREATE TABLE change (
    id   INTEGER PRIMARY KEY AUTOINCREMENT,
    tbl  TEXT NOT NULL,
    key1 TEXT NOT NULL,
    key2 TEXT,
    key3 TEXT,
    key4 TEXT
);
CREATE TRIGGER change_limit AFTER INSERT ON change WHEN NEW.id % 100 = 0 BEGIN
    DELETE FROM change WHERE id <= NEW.id - 10000;
END;

CREATE TRIGGER property_added AFTER INSERT ON property BEGIN
    INSERT INTO change (tbl, key1) VALUES ('property', NEW.tbl);
END;
CREATE TRIGGER property_removed AFTER DELETE ON property BEGIN
    INSERT INTO change (tbl, key1) VALUES ('property', OLD.tbl);
END;
CREATE TRIGGER property_changed AFTER UPDATE ON property BEGIN
    INSERT INTO change (tbl, key1) VALUES ('property', NEW.tbl);
END;
CREATE TRIGGER browser_id_added AFTER INSERT ON browser_id BEGIN
    INSERT INTO change (tbl, key1) VALUES ('browser_id', NEW.name);
END;
CREATE TRIGGER browser_id_removed AFTER DELETE ON browser_id BEGIN
    INSERT INTO change (tbl, key1) VALUES ('browser_id', OLD.name);
END;
CREATE TRIGGER browser_id_changed AFTER UPDATE ON browser_id BEGIN
    INSERT INTO change (tbl, key1) VALUES ('browser_id', OLD.name), ('browser_id', NEW.name);
END;
CREATE TRIGGER type_added AFTER INSERT ON type BEGIN
    INSERT INTO change (tbl, key1) VALUES ('type', NEW.name);
END;
CREATE TRIGGER type_removed AFTER DELETE ON type BEGIN
    INSERT INTO change (tbl, key1) VALUES ('type', OLD.name);
END;
CREATE TRIGGER type_changed AFTER UPDATE ON type BEGIN
    INSERT INTO change (tbl, key1) VALUES ('type', OLD.name), ('type', NEW.name);
END;
CREATE TRIGGER page_added AFTER INSERT ON page BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('page', NEW.type, NEW.number);
END;
CREATE TRIGGER page_removed AFTER DELETE ON page BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('page', OLD.type, OLD.number);
END;
CREATE TRIGGER page_changed AFTER UPDATE ON page BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('page', OLD.type, OLD.number), ('page', NEW.type, NEW.number);
END;
CREATE TRIGGER attribute_group_added AFTER INSERT ON attribute_group BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('attribute_group', NEW.type, NEW.number);
END;
CREATE TRIGGER attribute_group_removed AFTER DELETE ON attribute_group BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('attribute_group', OLD.type, OLD.number);
END;
CREATE TRIGGER attribute_group_changed AFTER UPDATE ON attribute_group BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('attribute_group', OLD.type, OLD.number), ('attribute_group', NEW.type, NEW.number);
END;
CREATE TRIGGER group_format_added AFTER INSERT ON group_format BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('group_format', NEW.type, NEW.group_number);
END;
CREATE TRIGGER group_format_removed AFTER DELETE ON group_format BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('group_format', OLD.type, OLD.group_number);
END;
CREATE TRIGGER group_format_changed AFTER UPDATE ON group_format BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('group_format', OLD.type, OLD.group_number), ('group_format', NEW.type, NEW.group_number);
END;
CREATE TRIGGER editor_added AFTER INSERT ON editor BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('editor', NEW.type, NEW.prog_id);
END;
CREATE TRIGGER editor_removed AFTER DELETE ON editor BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('editor', OLD.type, OLD.prog_id);
END;
CREATE TRIGGER editor_changed AFTER UPDATE ON editor BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('editor', OLD.type, OLD.prog_id), ('editor', NEW.type, NEW.prog_id);
END;
CREATE TRIGGER attribute_added AFTER INSERT ON attribute BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('attribute', NEW.type, NEW.name);
END;
CREATE TRIGGER attribute_removed AFTER DELETE ON attribute BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('attribute', OLD.type, OLD.name);
END;
CREATE TRIGGER attribute_changed AFTER UPDATE ON attribute BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('attribute', OLD.type, OLD.name), ('attribute', NEW.type, NEW.name);
END;
CREATE TRIGGER attribute_type_added AFTER INSERT ON attribute_type BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('attribute_type', NEW.type, NEW.attribute, NEW.name);
END;
CREATE TRIGGER attribute_type_removed AFTER DELETE ON attribute_type BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('attribute_type', OLD.type, OLD.attribute, OLD.name);
END;
CREATE TRIGGER attribute_type_changed AFTER UPDATE ON attribute_type BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('attribute_type', OLD.type, OLD.attribute, OLD.name), ('attribute_type', NEW.type, NEW.attribute, NEW.name);
END;
CREATE TRIGGER attribute_format_added AFTER INSERT ON attribute_format BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('attribute_format', NEW.type, NEW.attribute, NEW.format_type);
END;
CREATE TRIGGER attribute_format_removed AFTER DELETE ON attribute_format BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('attribute_format', OLD.type, OLD.attribute, OLD.format_type);
END;
CREATE TRIGGER attribute_format_changed AFTER UPDATE ON attribute_format BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('attribute_format', OLD.type, OLD.attribute, OLD.format_type), ('attribute_format', NEW.type, NEW.attribute, NEW.format_type);
END;
CREATE TRIGGER relation_added AFTER INSERT ON relation BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('relation', NEW.parent, NEW.child, NEW.list);
END;
CREATE TRIGGER relation_removed AFTER DELETE ON relation BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('relation', OLD.parent, OLD.child, OLD.list);
END;
CREATE TRIGGER relation_changed AFTER UPDATE ON relation BEGIN
    INSERT INTO change (tbl, key1, key2, key3) VALUES ('relation', OLD.parent, OLD.child, OLD.list), ('relation', NEW.parent, NEW.child, NEW.list);
END;
CREATE TRIGGER pc_info_added AFTER INSERT ON pc_info BEGIN
    INSERT INTO change (tbl, key1, key2, key3, key4) VALUES ('pc_info', NEW.parent, NEW.child, NEW.list, NEW.browser);
END;
CREATE TRIGGER pc_info_removed AFTER DELETE ON pc_info BEGIN
    INSERT INTO change (tbl, key1, key2, key3, key4) VALUES ('pc_info', OLD.parent, OLD.child, OLD.list, OLD.browser);
END;
CREATE TRIGGER pc_info_changed AFTER UPDATE ON pc_info BEGIN
    INSERT INTO change (tbl, key1, key2, key3, key4) VALUES ('pc_info', OLD.parent, OLD.child, OLD.list, OLD.browser), ('pc_info', NEW.parent, NEW.child, NEW.list, NEW.browser);
END;
CREATE TRIGGER global_spec_added AFTER INSERT ON global_spec BEGIN
    INSERT INTO change (tbl, key1) VALUES ('global_spec', NEW.id);
END;
CREATE TRIGGER global_spec_removed AFTER DELETE ON global_spec BEGIN
    INSERT INTO change (tbl, key1) VALUES ('global_spec', OLD.id);
END;
CREATE TRIGGER global_spec_changed AFTER UPDATE ON global_spec BEGIN
    INSERT INTO change (tbl, key1) VALUES ('global_spec', OLD.id), ('global_spec', NEW.id);
END;
CREATE TRIGGER global_spec_format_added AFTER INSERT ON global_spec_format BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('global_spec_format', NEW.spec, NEW.format_type);
END;
CREATE TRIGGER global_spec_format_removed AFTER DELETE ON global_spec_format BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('global_spec_format', OLD.spec, OLD.format_type);
END;
CREATE TRIGGER global_spec_format_changed AFTER UPDATE ON global_spec_format BEGIN
    INSERT INTO change (tbl, key1, key2) VALUES ('global_spec_format', OLD.spec, OLD.format_type), ('global_spec_format', NEW.spec, NEW.format_type);
END;
