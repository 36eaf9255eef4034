# SPDX-License-Identifier: MIT
"""Holds what debug/ says of the classes to what the compiler says of them.

gdb runs it on a program whose debug information has the whole classes:
    gdb -nx -batch -ex "python directory = 'debug'" -x check-members.py PROGRAM
Places, flags and names of the printers are compared; of the natvis file that it is well-formed, and
that each member in it exists.
"""

import importlib.machinery
import os
import re
import sys
import types
import xml.etree.ElementTree

import gdb

faults = []
checked = 0


def check(holds, text):
    global checked
    checked += 1
    if not holds:
        faults.append(text)


def member(type_, name):
    """The type of a member and its place in bytes, also of a base or an unnamed union."""
    type_ = type_.strip_typedefs()
    for field in type_.fields():
        place = getattr(field, "bitpos", 0) // 8
        if field.name == name and not field.is_base_class:
            return field.type, place
        if field.is_base_class or not field.name:
            found = member(field.type, name)
            if found is not None:
                return found[0], place + found[1]
    return None


# ----- The printers ------------------------------------------------------------------------------


def check_printers(path):
    loader = importlib.machinery.SourceFileLoader("printers", path)
    module = types.ModuleType(loader.name)
    loader.exec_module(module)
    facts = module.GatecastFacts

    for name, members in facts.LAYOUT.items():
        for key, place in members.items():
            found = member(gdb.lookup_type(name), key)
            check(found is not None, "%s has no member %s" % (name, key))
            if found is not None:
                check(found[1] == place, "%s::%s lies at %d, not at %d" % (
                    name, key, found[1], place))
    check(gdb.lookup_type("json::Variant").sizeof == facts.VARIANT_SIZE, "VARIANT_SIZE")
    known = 0
    for field in gdb.lookup_type("json::Variant").fields():
        if re.fullmatch("k[A-Z].*", field.name or ""):
            bits = int(gdb.parse_and_eval("(int)json::Variant::" + field.name))
            known |= bits
            expected = facts.FLAGS.get(field.name, bits)
            check(bits == expected, "%s is %#x, not %#x" % (field.name, bits, expected))
    check(known == facts.KNOWN_FLAGS, "the known flags are %#06x" % known)
    for enumeration, names in [("json::Type", facts.TYPES),
                               ("json::Schema::ValidationCode", facts.CODES)]:
        expected = [(name, number) for number, name in enumerate(names)]
        found = [(field.name.rpartition("::")[2], field.enumval)
                 for field in gdb.lookup_type(enumeration).fields()]
        check(found == expected, "%s is %s" % (enumeration, found))
    families = [field.name.rpartition("::")[2]
                for field in gdb.lookup_type("qx::IPAddress::Family").fields()]
    check(families == ["None", "V4", "V6"], "the families are %s" % families)


# ----- The natvis file ---------------------------------------------------------------------------

SPACE = "{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}"


def walk(type_, chain):
    """The type that a chain of members leads to."""
    for name in re.split(r"\.|->", chain):
        type_ = type_.strip_typedefs()
        if type_.code == gdb.TYPE_CODE_PTR:
            type_ = type_.target()
        found = member(type_, name)
        if found is None:
            check(False, "natvis: %s has no member %s" % (type_, name))
            return None
        check(True, "")
        type_ = found[0]
    return type_


def check_expression(type_, expression):
    """Follows each chain of members in the expression; answers the type of the last one."""
    for cast in re.findall(r"\(([\w:]*::\w+)\)", expression):
        gdb.lookup_type(cast)
    expression = re.sub(r"\([\w:]*::\w+\)|,\w+$", "", expression)
    result = None
    for chain in re.findall(r"[A-Za-z_]\w*(?:(?:\.|->)[A-Za-z_]\w*)*", expression):
        result = walk(type_, chain)
    return result


def check_node(type_, node):
    inner = type_
    tag = node.tag.replace(SPACE, "")
    if tag == "LinkedListItems":
        head = check_expression(type_, node.find(SPACE + "HeadPointer").text)
        inner = head.strip_typedefs().target()
    if tag in ("NextPointer", "ValueNode", "Item", "ExpandedItem"):
        check_expression(type_, node.text)
    for text in (node.text if tag == "DisplayString" else "", node.get("Name", "")):
        if tag != "Type":
            for expression in re.findall(r"\{([^}]*)\}", text or ""):
                check_expression(type_, expression)
    check_expression(type_, node.get("Condition", ""))
    for child in node:
        outer = child.tag.replace(SPACE, "") in ("Size", "HeadPointer")
        if outer:
            check_expression(type_, child.text)
        else:
            check_node(inner, child)


def check_natvis(path):
    root = xml.etree.ElementTree.parse(path).getroot()
    check(root.tag == SPACE + "AutoVisualizer", "natvis: the root is " + root.tag)
    samples = {"boost::intrusive_ptr<*>": "boost::intrusive_ptr<json::List>",
               "qx::PooledStringMap<*>": "qx::PooledStringMap<json::Variant>"}
    for node in root:
        name = node.get("Name")
        check_node(gdb.lookup_type(samples.get(name, name)), node)


try:
    check_printers(os.path.join(directory, "gatecast-gdb.py"))  # noqa: F821: gdb's caller says it
    check_natvis(os.path.join(directory, "gatecast.natvis"))  # noqa: F821
    if checked < 150:
        faults.append("only %d things were checked" % checked)
except Exception as error:  # gdb would go on with status 0
    faults.append("%s: %s" % (type(error).__name__, error))
for fault in faults:
    print("check-members: " + fault, file=sys.stderr)
print("check-members: %d things checked, %d faults" % (checked, len(faults)))
gdb.execute("quit %d" % (1 if faults else 0))
