# SPDX-License-Identifier: MIT
"""Reads the interface definitions, for programs that generate something from them."""
import re
from typing import NamedTuple


class Parameter(NamedTuple):
    name: str
    role: str
    count: int  # index of the parameter with the number of elements, or -1
    attributes: str
    type: str


class Method(NamedTuple):
    name: str
    help: str
    parameters: list


class Interface(NamedTuple):
    name: str
    base: str
    iid: str
    help: str
    methods: list


def expand_macros(text, texts=None):
    """Removes comments and preprocessor lines from the definitions, and expands macros with arguments. A quoted text is
    replaced by its index in texts, because it may contain any characters."""
    texts = [] if texts is None else texts

    def put_aside(found):
        texts.append(found[1])
        return f'"{len(texts) - 1}"'

    text = re.sub(r"//[^\n]*", "", text)
    text = re.sub(r'"([^"\n]*)"', put_aside, text)
    macro = re.compile(r"^#define (\w+)\(([^)]*)\)((?:.*\\\n)*.*)\n", re.M)
    macros = {m[1]: ([p.strip() for p in m[2].split(",")], m[3].replace("\\\n", "\n")) for m in macro.finditer(text)}
    text = re.sub(r"^#.*\n", "", macro.sub("", text), flags=re.M)
    for name, (parameters, body) in macros.items():
        def expand(use, parameters=parameters, body=body):
            given = dict(zip(parameters, (a.strip() for a in use[1].split(","))))
            return re.sub(r"\w+", lambda word: given.get(word[0], word[0]), body)
        text = re.sub(r"^%s\(([^)]*)\);" % name, expand, text, flags=re.M)
    return text


def parse_parameters(text, method):
    parts = re.findall(r"\[([^\]]*)\]\s*([^\[\]]*?)\s*(\w+)\s*(?:,\s*(?=\[)|$)", text.strip())
    if len(parts) != text.count("["):
        raise ValueError(f"{method}: cannot read its parameters")
    names = [name for _, _, name in parts]
    result = []
    for attributes, kind, name in parts:
        words = re.findall(r"\w+", re.sub(r"\([^)]*\)", "", attributes))
        role = "InOut" if "in" in words and "out" in words else "Out" if "out" in words else "In"
        size = re.search(r"size_is\(\s*(\w+)\s*\)", attributes)
        result.append(Parameter(name, role, names.index(size[1]) if size else -1, attributes, kind))
    return result


def help_in(attributes, texts):
    found = re.search(r'helpstring\("(\d+)"\)', attributes)
    return texts[int(found[1])] if found and texts else ""


def parse(text, texts=()):
    """All interfaces of definitions that expand_macros has processed."""
    interfaces = []
    for found in re.finditer(r"\[([^\[\]]*\bobject\b[^\[\]]*)\]\s*interface (\w+)\s*:\s*(\w+)\s*\{([^{}]*)\}", text):
        attributes, name, base, body = found.groups()
        methods = [Method(m[2], help_in(m[1] or "", texts), parse_parameters(m[3], name + "::" + m[2]))
                   for m in re.finditer(r"(\[[^\[\]]*\]\s*)?HRESULT\s+(\w+)\s*\((.*?)\)\s*;", body, re.S)]
        if len(methods) != body.count("HRESULT"):
            raise ValueError(f"{name}: cannot read its methods")
        iid = re.search(r"uuid\(([-\w]+)\)", attributes)
        interfaces.append(Interface(name, base, iid[1] if iid else "", help_in(attributes, texts), methods))
    return interfaces
