# SPDX-License-Identifier: MIT
"""Shows the types of gatecast in gdb: values as trees, texts as texts, faults by name.

Nothing here calls into the process or asks it for more than its memory, so that a core file shows
the same. Places are taken from LAYOUT and not from debug information: a library without any will
do, as long as the application has its own. What can't be read, or can't be what it is declared as,
is shown as a text in angle brackets. tests/debug holds all of it, LAYOUT too. gdb runs all scripts
in one namespace: this one leaves only two names there.
"""

import gdb
import gdb.printing


class GatecastFacts:
    """What the printers know of the classes, and their limits."""

    # Where members lie, in bytes. A text is the standard library's: a pointer, a length, then a
    # capacity or the bytes themselves; a vector begins with pointers to its begin, end and limit.
    LAYOUT = {
        "json::Variant": {"value_": 0, "string_": 8, "schema_": 16, "parent_": 24, "flags_": 32},
        "json::List": {"count_": 8, "elements_": 16},
        "json::Object": {"table_": 8, "count_": 56},
        "qx::PooledStringMap<json::Variant>": {"table_": 8},
        "qx::detail::GroupedTable<json::Variant>": {"first_": 0, "size_": 16},
        "qx::detail::GroupedTable<json::Variant>::Node": {"previous": 0, "next": 8, "entry": 24},
        "std::pair<boost::intrusive_ptr<qx::IntrusiveString> const, json::Variant>": {
            "first": 0, "second": 8},
        "qx::IntrusiveString": {"count_": 0, "text_": 8},
        "qx::Url": {"text_": 8},
        "qx::IPAddress": {"family_": 0},
        "json::Path": {"buffer": 8, "capacity": 16, "offsets": 24},
        "json::Schema": {"count_": 8, "definition_": 16, "id_": 216},
        "json::Schema::ValidationResult": {
            "code": 0, "schema": 8, "value": 16, "detail": 56, "rootSchema": 96, "rootValue": 104,
            "path": 144},
    }
    VARIANT_SIZE = 40

    # The flag word of a value: the type in three bits, then marks.
    TYPES = ["Null", "Boolean", "Integer", "Real", "String", "Object", "List"]
    FLAGS = {"kTypeMask": 0x7, "kAutoValue": 0x40, "kSticky": 0x80}
    KNOWN_FLAGS = 0x07F7

    CODES = [
        "NoError", "SchemaNotFound", "WrongDataType", "InvalidValue", "ValueOutOfBounds",
        "ValueNotDivisible", "StringLengthOutOfBounds", "RequiredValueMissing",
        "DependentValueMissing", "UnknownStringFormat", "InvalidProperty", "ArrayIndexOutOfBounds",
        "SchemaNotDefinedForArrayItem", "ArrayItemsNotUnique", "MalformedDateOrTime",
        "RegularExpressionMismatch", "MalformedIpAddress", "MalformedUri"]
    FAMILIES = ["no IP address", "IPv4 address", "IPv6 address"]

    MAX_DEPTH = 64  # levels of a tree, whatever gdb's own "print max-depth" allows
    MAX_TEXT = 1 << 20  # bytes of a text, where "print elements" is unlimited
    MAX_SEGMENTS = 1000  # of a path
    MAX_SEGMENT = 1 << 12  # bytes of one
    MAX_COUNT = 1 << 30  # no payload has as many pointers


def gatecast_printers(facts):
    """The printers of all types."""
    import codecs
    import functools
    import struct

    class Fault(Exception):
        """What can't be shown; its text says why."""

    # ----- Memory ---------------------------------------------------------------------------------

    def memory(address, size):
        try:
            return gdb.selected_inferior().read_memory(address, size).tobytes()
        except (gdb.error, OverflowError, MemoryError, ValueError):
            raise Fault("<unreadable at %#x>" % address) from None

    @functools.lru_cache(maxsize=None)
    def order_of(architecture):
        del architecture  # the key: what follows is the same for each of them
        return ">" if "big endian" in gdb.execute("show endian", to_string=True) else "<"

    def byte_order():
        return order_of(gdb.selected_inferior().architecture().name())

    def unpack(form, address):
        return struct.unpack(byte_order() + form, memory(address, struct.calcsize("=" + form)))

    def word(address):
        return unpack("Q", address)[0]

    def at(type_name, member, address):
        return address + facts.LAYOUT[type_name][member]

    def value_at(type_name, address):
        """The object there, for gdb to print."""
        if isinstance(type_name, str):
            type_name = gdb.lookup_type(type_name)
        return gdb.Value(address).cast(type_name.pointer()).dereference()

    def address_of(val):
        if val.is_optimized_out:
            raise Fault("<optimized out>")
        if val.address is None:
            raise Fault("<not in memory>")
        return int(val.address)

    # ----- Texts ----------------------------------------------------------------------------------

    def limit(parameter, without):
        """A limit of gdb's, which knows several words for none."""
        number = gdb.parameter(parameter)
        return without if number is None or number <= 0 else min(number, without)

    def can_show(character):
        if not character.isprintable():
            return False
        try:
            character.encode(gdb.target_charset())
            character.encode(gdb.host_charset() if hasattr(gdb, "host_charset") else "ascii")
            return True
        except (UnicodeError, LookupError):
            return False

    ESCAPES = {'"': '\\"', "\\": "\\\\", "\n": "\\n", "\r": "\\r", "\t": "\\t"}

    def escaped(character):
        if character in ESCAPES:
            return ESCAPES[character]
        if " " <= character <= "~" or can_show(character):
            return character
        code = ord(character)
        if 0xDC80 <= code <= 0xDCFF:  # a byte that is no UTF-8
            return "\\x%02x" % (code - 0xDC00)
        return "\\u%04x" % code if code <= 0xFFFF else "\\U%08x" % code

    def quoted(data, whole=True):
        """The bytes between quotes; nothing in them reaches the terminal as a command."""
        decoder = codecs.getincrementaldecoder("utf-8")("surrogateescape")
        text = decoder.decode(data, final=whole)
        return '"%s"%s' % ("".join(map(escaped, text)), "" if whole else "...")

    def text_at(address):
        """A text of the standard library, quoted."""
        data, length, capacity = unpack("QQQ", address)
        if data == address + 16:
            capacity = 15
        if length > capacity or capacity >= 1 << 48:
            raise Fault("<corrupt text at %#x>" % address)
        shown = min(length, limit("print elements", facts.MAX_TEXT))
        return quoted(memory(data, shown) if shown > 0 else b"", shown == length)

    def with_marks(text, marks):
        return "%s (%s)" % (text, ", ".join(marks)) if marks else text

    def shared_mark(address_of_count, held=True):
        """Says how many pointers share a payload; `held` that there must be one."""
        count = unpack("I", address_of_count)[0]
        if count > facts.MAX_COUNT or (held and count == 0):
            raise Fault("<corrupt: counted by %d pointers at %#x>" % (count, address_of_count))
        return ["shared by %d" % count] if count > 1 else []

    def string_at(address, held=True):
        marks = shared_mark(at("qx::IntrusiveString", "count_", address), held)
        return text_at(at("qx::IntrusiveString", "text_", address)), marks

    # ----- What gdb asks --------------------------------------------------------------------------

    class Line:
        """Something without children."""

        def __init__(self, text):
            self.text = text

        def to_string(self):
            return self.text

    class Tree:
        """A line with children, made one by one as gdb asks for them."""

        def __init__(self, text, children, hint=None):
            self.text = text
            self.generator = children
            self.hint = hint

        def to_string(self):
            return self.text

        def children(self):
            return faultless(self.generator)

        def display_hint(self):
            return self.hint

    def faultless(children):
        """Ends at the first fault and shows it as the last child."""
        try:
            yield from children
        except Fault as fault:
            yield "fault", str(fault)
        except Exception as error:  # whatever else the memory of a broken process may lead to
            yield "fault", "<%s>" % error

    def printer_of(show):
        """A function from a value of gdb to its printer, which never throws."""

        @functools.wraps(show)
        def printer(val):
            try:
                if val.type.strip_typedefs().code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
                    val = val.referenced_value()
                return show(val)
            except Fault as fault:
                return Line(str(fault))
            except Exception as error:  # as above
                return Line("<%s>" % error)

        return printer

    # ----- Values ---------------------------------------------------------------------------------

    # The values that gdb is printing now, by address, each with its depth. A value that holds
    # itself comes back while it stands here.
    printing = {}

    def nested(name, address, depth):
        """The value there as a child."""
        if address in printing:
            yield name, "<holds itself>"
            return
        memory(address, facts.VARIANT_SIZE)
        printing[address] = depth
        try:
            yield name, value_at("json::Variant", address)
        finally:
            printing.pop(address, None)

    def list_children(begin, end, depth):
        for index, address in enumerate(range(begin, end, facts.VARIANT_SIZE)):
            yield from nested("[%d]" % index, address, depth)

    def entries(table, size):
        """Keys as they are shown, and the places of their values."""
        node_type = "qx::detail::GroupedTable<json::Variant>::Node"
        pair = "std::pair<boost::intrusive_ptr<qx::IntrusiveString> const, json::Variant>"
        previous = 0
        node = word(at("qx::detail::GroupedTable<json::Variant>", "first_", table))
        for _ in range(size):
            # A chain whose links agree both ways has an end.
            if node == 0 or word(at(node_type, "previous", node)) != previous:
                raise Fault("<corrupt chain of entries at %#x>" % node)
            entry = at(node_type, "entry", node)
            key = word(at(pair, "first", entry))
            yield "[%s]" % (string_at(key)[0] if key else '""'), at(pair, "second", entry)
            previous = node
            node = word(at(node_type, "next", node))
        if node != 0:
            raise Fault("<corrupt: more than %d entries>" % size)

    def object_children(table, size, depth):
        for key, address in entries(table, size):
            yield from nested(key, address, depth)

    def table_size(table):
        size = word(at("qx::detail::GroupedTable<json::Variant>", "size_", table))
        if size >= 1 << 40:
            raise Fault("<corrupt: %d entries at %#x>" % (size, table))
        return size

    def container(text, marks, children, depth, hint=None):
        if depth >= facts.MAX_DEPTH:
            return Line(with_marks(text, marks) + " {...}")
        return Tree(with_marks(text, marks), children, hint)

    def show_list_at(address, marks=(), held=True, depth=0):
        count = shared_mark(at("json::List", "count_", address), held)
        begin, end, room = unpack("QQQ", at("json::List", "elements_", address))
        if not begin <= end <= room or (end - begin) % facts.VARIANT_SIZE != 0:
            raise Fault("<corrupt list at %#x>" % address)
        if end > begin:
            memory(end - 1, 1)
        return container("list of %d" % ((end - begin) // facts.VARIANT_SIZE), [*count, *marks],
                         list_children(begin, end, depth + 1), depth, "array")

    def show_object_at(address, marks=(), held=True, depth=0):
        count = shared_mark(at("json::Object", "count_", address), held)
        table = at("json::Object", "table_", address)
        size = table_size(table)
        return container("object of %d" % size, [*count, *marks],
                         object_children(table, size, depth + 1), depth)

    def bound_mark(schema):
        """Says that there is a schema, unless it leaves all free, as lists give their elements."""
        if schema == 0:
            return []
        try:
            definition = word(at("json::Schema", "definition_", schema))
            return ["bound"] if table_size(at("json::Object", "table_", definition)) > 0 else []
        except Fault:
            return ["bound to what is no schema at %#x" % schema]

    def as_base(val, name):
        """The part of the object that is its base of that name."""
        if val.type.unqualified().strip_typedefs().name == name:
            return val
        for field in val.type.strip_typedefs().fields():
            if field.is_base_class:
                base = as_base(val[field], name)
                if base is not None:
                    return base
        return None

    def show_variant(val):
        # Requests and responses begin with a value; debug information may leave out that they do.
        val = as_base(val, "json::Variant") or val
        if val.is_optimized_out:
            raise Fault("<optimized out>")
        depth = 0
        if val.address is not None:
            address = int(val.address)
            depth = printing.get(address, 0)
            storage, text, schema, _, flags = unpack("QQQQH", address)
        else:  # in registers: gdb can say of each member where it is
            storage = int(val["value_"]["integer"]) & (1 << 64) - 1
            text = int(val["string_"]["px"])
            schema = int(val["schema_"]["px"])
            flags = int(val["flags_"])
        kind = flags & facts.FLAGS["kTypeMask"]
        if kind >= len(facts.TYPES) or flags & ~facts.KNOWN_FLAGS:
            raise Fault("<corrupt: flag word %#06x>" % flags)
        marks = bound_mark(schema)
        if flags & facts.FLAGS["kAutoValue"]:
            marks.append("auto value")
        kind = facts.TYPES[kind]
        if kind in ("Object", "List"):
            if storage == 0:
                return Line(with_marks(kind.lower() + " of 0", marks))
            show = show_object_at if kind == "Object" else show_list_at
            return show(storage, marks, True, depth)
        if kind == "String":
            shown, shared = string_at(text) if text != 0 else ('""', [])
            return Line(with_marks(shown, shared + marks))
        return Line(with_marks(scalar(kind, storage), marks))

    def scalar(kind, storage):
        if kind == "Null":
            return "null"
        # Storage is a union: its first byte in memory is the Boolean.
        raw = struct.pack(byte_order() + "Q", storage)
        if kind == "Boolean":
            if raw[0] > 1:
                raise Fault("<corrupt: a Boolean of %d>" % raw[0])
            return "true" if raw[0] else "false"
        return repr(struct.unpack(byte_order() + ("q" if kind == "Integer" else "d"), raw)[0])

    def show_map(val):
        """A map of interned keys to whatever it holds."""
        table = at("qx::PooledStringMap<json::Variant>", "table_", address_of(val))
        element = val.type.unqualified().strip_typedefs().template_argument(0)
        size = table_size(table)
        return Tree("map of %d" % size,
                    ((key, value_at(element, place)) for key, place in entries(table, size)))

    # ----- Texts, paths, addresses ----------------------------------------------------------------

    def show_string(val):
        return Line(with_marks(*string_at(address_of(val), held=False)))

    def show_url(val):
        return Line(text_at(at("qx::Url", "text_", address_of(val))))

    def show_address(val):
        family = unpack("I", at("qx::IPAddress", "family_", address_of(val)))[0]
        if family >= len(facts.FAMILIES):
            raise Fault("<corrupt: address of family %d>" % family)
        return Line(facts.FAMILIES[family])

    def segments(address):
        """The bytes of each segment of a path."""
        buffer = word(at("json::Path", "buffer", address))
        capacity = word(at("json::Path", "capacity", address))
        begin, end, room = unpack("QQQ", at("json::Path", "offsets", address))
        if not begin < end <= room or (end - begin) % 8 != 0 or capacity >= 1 << 40:
            raise Fault("<corrupt path at %#x>" % address)
        count = (end - begin) // 8 - 1  # behind the last one stands the end mark
        for index in range(min(count, facts.MAX_SEGMENTS)):
            offset = word(begin + 8 * index)
            if offset >= capacity:
                raise Fault("<corrupt path at %#x>" % address)
            text, end_mark, _ = memory(
                buffer + offset, min(capacity - offset, facts.MAX_SEGMENT)).partition(b"\0")
            yield text if end_mark else text + b"..."
        if count > facts.MAX_SEGMENTS:
            yield b"..."

    def clipped(data):
        """The bytes in quotes, as many as gdb shows of a text."""
        shown = limit("print elements", facts.MAX_TEXT)
        return quoted(data[:shown], len(data) <= shown)

    def path_at(address):
        """A path as the library writes it: what begins with a digit in brackets."""
        text = b""
        for segment in segments(address):
            if segment[:1].isdigit():
                text += b"[" + segment + b"]"
            else:
                text += (b"." if text else b"") + segment
        return clipped(text)

    def show_path(val):
        address = address_of(val)
        return Tree("path " + path_at(address),
                    (("[%d]" % index, clipped(segment))
                     for index, segment in enumerate(segments(address))), "array")

    # ----- Schemas and their results --------------------------------------------------------------

    def schema_at(address):
        url = text_at(at("qx::Url", "text_", at("json::Schema", "id_", address)))
        return "schema without id" if url == '""' else "schema " + url

    def schema_or_fault(address):
        """Results don't own their schemas: these may be gone."""
        if address == 0:
            return "null"
        try:
            shared_mark(at("json::Schema", "count_", address), held=False)
            return "%s at %#x" % (schema_at(address), address)
        except Fault:
            return "<no schema any more at %#x>" % address

    def show_schema_at(address, held):
        marks = shared_mark(at("json::Schema", "count_", address), held)
        table = at("json::Object", "table_", word(at("json::Schema", "definition_", address)))
        return Tree(with_marks(schema_at(address), marks),
                    object_children(table, table_size(table), 1))

    def show_result(val):
        address = address_of(val)

        def place(member):
            return at("json::Schema::ValidationResult", member, address)

        code = unpack("i", place("code"))[0]
        name = facts.CODES[code] if 0 <= code < len(facts.CODES) else "code"
        if code == 0:
            return Line("valid")

        def children():
            yield "value", value_at("json::Variant", place("value"))
            yield "detail", value_at("json::Variant", place("detail"))
            yield "rootValue", value_at("json::Variant", place("rootValue"))
            yield "schema", schema_or_fault(word(place("schema")))
            yield "rootSchema", schema_or_fault(word(place("rootSchema")))

        return Tree("%s (%d) at %s" % (name, code, path_at(place("path"))), children())

    # ----- Pointers and pools ---------------------------------------------------------------------

    def show_pointer(val):
        address = int(val["px"])
        if address == 0:
            return Line("null")
        target = val.type.unqualified().strip_typedefs().template_argument(0).unqualified()
        name = target.strip_typedefs().name
        if name == "json::List":
            return show_list_at(address)
        if name == "json::Object":
            return show_object_at(address)
        if name == "qx::IntrusiveString":
            return Line(with_marks(*string_at(address)))
        if name == "json::Schema":
            return show_schema_at(address, held=True)
        return Tree("(%s *) %#x" % (name, address), iter([("*", value_at(target, address))]))

    def show_pool(val):
        """The strings that were asked for of late: all others hang in a table that isn't ours."""
        recent = val["recent_"]
        places = unpack("%dQ" % (recent.type.sizeof // 8), address_of(recent))

        def children():
            for place in filter(None, places[3::4]):  # behind a length and two words of the text
                yield "", with_marks(*string_at(word(place)))

        return Tree("string pool, of late", children(), "array")

    printers = gdb.printing.RegexpCollectionPrettyPrinter("gatecast")
    for name, pattern, show in [
            ("Variant", "^json::(Variant|Request|Response)$", show_variant),
            ("List", "^json::List$",
             lambda val: show_list_at(address_of(val), held=False)),
            ("Object", "^json::Object$",
             lambda val: show_object_at(address_of(val), held=False)),
            ("Path", "^json::Path$", show_path),
            ("Schema", "^json::Schema$",
             lambda val: show_schema_at(address_of(val), held=False)),
            ("ValidationResult", "^json::Schema::ValidationResult$", show_result),
            ("IntrusiveString", "^qx::IntrusiveString$", show_string),
            ("Url", "^qx::Url$", show_url),
            ("IPAddress", "^qx::IPAddress$", show_address),
            ("PooledStringMap", "^qx::PooledStringMap<.*>$", show_map),
            ("StringPool", "^qx::StringPool<.*>$", show_pool),
            ("intrusive_ptr", "^boost::intrusive_ptr<(json|qx)::.*>$", show_pointer),
    ]:
        printers.add_printer(name, pattern, printer_of(show))
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), gatecast_printers(GatecastFacts),
                                     replace=True)
