// SPDX-License-Identifier: MIT
#include "json/Path.h"

#include "core/IntrusiveString.h"
#include "support/BoundValue.h"
#include "support/ValueProbe.h"
#include "json/Variant.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

static_assert(std::has_virtual_destructor_v<json::Path>);

namespace {

using json::Path;
using json::Variant;
using Segments = std::vector<std::string>;

/// Opens what subclasses of a path see.
struct PathProbe : Path {
    using Path::eval1;
    using Path::evaluate;
    using Path::parse;
    using Path::Path;
    using Path::reserve;
};

Segments segments_of(const Path& path) {
    Segments result;
    for (std::size_t index = 0; index < path.size(); ++index) {
        result.emplace_back(path[index]);
    }
    return result;
}

std::string printed(const Path& path) {
    std::ostringstream out;
    path.print(out);
    return out.str();
}

Variant parsed(const char* text) {
    Variant value;
    std::istringstream in(text);
    EXPECT_TRUE(value.read(in)) << text;
    return value;
}

// --- Parsing

TEST(Path, SplitsATextAtItsSeparators) {
    struct Row {
        std::string text;
        Segments expected;
    };
    const Row rows[] = {
        {"", {}},
        {"a", {"a"}},
        {"a.b[3].c", {"a", "b", "3", "c"}},
        {"[0]", {"0"}},
        {"a..b", {"a", "b"}},
        {"a]b[c", {"a", "b", "c"}},
        {".a.", {"a"}},
        {"a b.c", {"a b", "c"}},
        {" ", {" "}},
        {"...", {}},
        {"[[[", {}},
        {"]][", {}},
        {"a.", {"a"}},
        {".a", {"a"}},
        {"a[b.c]", {"a", "b", "c"}},
        {"\xc3\xa9.x", {"\xc3\xa9", "x"}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.expected, segments_of(Path(row.text.c_str()))) << row.text;
        EXPECT_EQ(row.expected, segments_of(Path(row.text))) << row.text;
        EXPECT_EQ(row.expected.size(), Path(row.text).size()) << row.text;
    }
}

TEST(Path, IsEmptyByDefault) {
    EXPECT_EQ(0u, Path().size());
    EXPECT_EQ(0u, Path("").size());
    EXPECT_EQ("", printed(Path()));
    EXPECT_EQ("", printed(Path("")));
}

TEST(Path, CountsANulInAStringAsASeparator) {
    EXPECT_EQ((Segments{"a", "b"}), segments_of(Path(std::string("a\0b", 3))));
    EXPECT_EQ((Segments{"a", "b"}), segments_of(Path(std::string("\0a\0\0b\0", 6))));
    EXPECT_EQ((Segments{"a"}), segments_of(Path(std::string("a\0b", 3).c_str())));
}

TEST(Path, ParsesAgainInPlace) {
    PathProbe path("old.path");
    path.parse("a.b.c", 3);
    EXPECT_EQ((Segments{"a", "b"}), segments_of(path));
    path.parse("x.y", -1);
    EXPECT_EQ((Segments{"x", "y"}), segments_of(path));
    path.parse("", 0);
    EXPECT_EQ(0u, path.size());
    const std::string longer(500, 'z');
    path.parse(longer.c_str(), -1);
    EXPECT_EQ((Segments{longer}), segments_of(path));
}

TEST(Path, KeepsItsSegmentsWhenItReserves) {
    PathProbe path("a.b");
    path.reserve(10000);
    EXPECT_EQ((Segments{"a", "b"}), segments_of(path));
    path.reserve(1);
    EXPECT_EQ((Segments{"a", "b"}), segments_of(path));
}

// --- Appending and removing

TEST(Path, AppendsASegmentAsItStands) {
    Path path;
    EXPECT_EQ(&path, &(path << "a.b[0]"));
    path << "" << qx::IntrusiveString("c\0d", 3) << std::size_t{7};
    EXPECT_EQ((Segments{"a.b[0]", "", "c", "7"}), segments_of(path));
}

// The first append after a parse overwrites the NUL of the last segment: a repair that kept the
// NUL would fail here.
TEST(Path, TheFirstAppendToAParsedPathRunsOnIntoItsLastSegment) {
    Path path("a.b");
    path << "c";
    EXPECT_EQ((Segments{"a", "bc", "c"}), segments_of(path));
    Path two("a");
    two << "b"
        << "c";
    EXPECT_EQ((Segments{"ab", "b", "c"}), segments_of(two));
    Path number("a");
    number << std::size_t{5} << std::size_t{6};
    EXPECT_EQ((Segments{"a5", "5", "6"}), segments_of(number));
    Path string("a");
    string << qx::IntrusiveString("b");
    EXPECT_EQ((Segments{"ab", "b"}), segments_of(string));
}

TEST(Path, KeepsSegmentsApartInAPathThatStartsEmpty) {
    Path path;
    path << "a"
         << "b" << std::size_t{3} << "c";
    EXPECT_EQ((Segments{"a", "b", "3", "c"}), segments_of(path));
}

TEST(Path, RunsNothingOnBehindASeparatorThatEndsTheText) {
    Path path("a.");
    path << "b";
    EXPECT_EQ((Segments{"a", "b"}), segments_of(path));
}

TEST(Path, AnIndexIsCutTo32Bits) {
    Path path;
    path << std::size_t{4294967295u};
    path << static_cast<std::size_t>(std::uint64_t{1} << 32 | 5u);
    path << static_cast<std::size_t>(-1);
    EXPECT_EQ((Segments{"4294967295", "5", "4294967295"}), segments_of(path));
}

TEST(Path, GrowsWithItsSegments) {
    Path path;
    Segments expected;
    for (std::size_t index = 0; index < 300; ++index) {
        if (index % 3 == 0) {
            path << index;
            expected.push_back(std::to_string(index));
        } else {
            expected.emplace_back(index, 'x');
            path << expected.back().c_str();
        }
    }
    EXPECT_EQ(expected, segments_of(path));
}

TEST(Path, AppendsASegmentOfItsOwn) {
    Path path;
    path << "first";
    for (int times = 0; times < 100; ++times) {
        path << path[0];
    }
    EXPECT_EQ(Segments(101, "first"), segments_of(path));
    Path parsedPath("a.bc");
    parsedPath << parsedPath[1];
    EXPECT_EQ((Segments{"a", "bcbc", "bc"}), segments_of(parsedPath));
}

TEST(Path, PopsItsLastSegment) {
    Path path;
    path << "a"
         << "b";
    EXPECT_EQ(&path, &path.pop());
    EXPECT_EQ((Segments{"a"}), segments_of(path));
    path << "c";
    EXPECT_EQ((Segments{"a", "c"}), segments_of(path));
    path.pop().pop().pop();
    EXPECT_EQ(0u, path.size());
    path << "d";
    EXPECT_EQ((Segments{"d"}), segments_of(path));
}

TEST(Path, LeavesACorrectEndMarkWhenItPopsAfterAParse) {
    Path path("a.b");
    path.pop();
    path << "c";
    EXPECT_EQ((Segments{"a", "c"}), segments_of(path));
}

// --- Printing

TEST(Path, PrintsDigitsInBrackets) {
    struct Row {
        const char* text;
        const char* expected;
    };
    const Row rows[] = {
        {"", ""},          {"a.b[3].c", "a.b[3].c"}, {"[0]", "[0]"},
        {"0.1", "[0][1]"}, {"a.2b", "a[2b]"},        {"a]b[c", "a.b.c"},
        {"-1", "-1"},      {"a[-1]", "a.-1"},        {"[3].a", "[3].a"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.expected, printed(Path(row.text))) << row.text;
        std::ostringstream out;
        out << Path(row.text);
        EXPECT_EQ(row.expected, out.str()) << row.text;
    }
}

TEST(Path, PrintsAnEmptySegment) {
    Path path;
    path << ""
         << "a"
         << "";
    EXPECT_EQ(".a.", printed(path));
}

// --- Copying

TEST(Path, CopiesDeeply) {
    Path source("a.b");
    Path copy(source);
    Path assigned("something much longer than the path that is assigned to it, to be sure");
    assigned = source;
    Path shorter;
    shorter = source;
    source << "c";
    EXPECT_EQ((Segments{"a", "b"}), segments_of(copy));
    EXPECT_EQ((Segments{"a", "b"}), segments_of(assigned));
    EXPECT_EQ((Segments{"a", "b"}), segments_of(shorter));
    copy << "d";
    EXPECT_EQ((Segments{"a", "bd", "d"}), segments_of(copy)) << "the end mark is copied, too";
    Path longer(std::string(500, 'x'));
    shorter = longer;
    EXPECT_EQ((Segments{std::string(500, 'x')}), segments_of(shorter));
}

TEST(Path, StaysAsItIsWhenAssignedToItself) {
    Path path("a.b");
    Path& same = path;
    path = same;
    EXPECT_EQ((Segments{"a", "b"}), segments_of(path));
}

// --- Reading walks

TEST(Path, ReadsWhatItLeadsTo) {
    const Variant root = parsed("{\"a\": {\"b\": [10, {\"c\": 11}]}, \"5\": 12, \"list\": [13]}");
    struct Row {
        const char* path;
        const char* expected;
    };
    const Row rows[] = {
        {"a.b[0]", "10"},    {"a.b[1].c", "11"}, {"a.b.1.c", "11"},   {"5", "12"},
        {"[5]", "12"},       {"list[0]", "13"},  {"list.name", "13"}, {"a.b[1x].c", "11"},
        {"a.b[ 1].c", "11"}, {"list[+0]", "13"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.expected, json_of(Path(row.path).evaluate(root))) << row.path;
    }
}

TEST(Path, ReadsEmptyOnAMiss) {
    const Variant root = parsed("{\"a\": {\"b\": [10]}, \"n\": null, \"s\": \"text\", \"e\": []}");
    const std::string before = json_of(root);
    for (const char* path :
         {"x", "a.x", "a.b[1]", "a.b[-1]", "a.b[0].c", "n.x", "s.x", "s[0]", "e[0]", "e.name",
          "a.b[99999999999999999999]", "a.b[2147483648]", "a.b[4294967296]"}) {
        EXPECT_EQ(&Variant::Empty, &Path(path).evaluate(root)) << path;
    }
    EXPECT_EQ(before, json_of(root));
}

// A repair that made values and containers alike would need a value to answer.
TEST(Path, AnEmptyPathGivesTheValueItselfButEmptyOnAListOrAnObject) {
    const Variant scalar(5);
    EXPECT_EQ(&scalar, &Path().evaluate(scalar));
    Variant changeable = parsed("[1]");
    EXPECT_EQ(&changeable, &Path().evaluate(changeable));
    json::List list;
    list << Variant(1);
    json::Object object;
    object.setValue("a", Variant(1));
    EXPECT_EQ(&Variant::Empty, &Path().evaluate(list));
    EXPECT_EQ(&Variant::Empty, &Path().evaluate(std::as_const(list)));
    EXPECT_EQ(&Variant::Empty, &Path().evaluate(object));
    EXPECT_EQ(&Variant::Empty, &Path().evaluate(std::as_const(object)));
}

// A repair that asked for digits would miss here.
TEST(Path, ASegmentThatIsNoNumberReadsAsZeroOnAList) {
    const Variant list = parsed("[10, 11, 12]");
    EXPECT_EQ(10, Path("name").evaluate(list).integerValue());
    EXPECT_EQ(12, Path("2b").evaluate(list).integerValue());
    EXPECT_EQ(11, Path("[ 1]").evaluate(list).integerValue());
    EXPECT_EQ(10, (Path() << "").evaluate(list).integerValue());
}

TEST(Path, WalksFromAListOrAnObject) {
    const Variant list = parsed("[1, {\"a\": 2}]");
    const Variant object = parsed("{\"a\": [3]}");
    EXPECT_EQ(2, Path("[1].a").evaluate(list.listValue()).integerValue());
    EXPECT_EQ(1, Path("name").evaluate(list.listValue()).integerValue());
    EXPECT_EQ(3, Path("a[0]").evaluate(object.objectValue()).integerValue());
    EXPECT_EQ(&Variant::Empty, &Path("[2]").evaluate(list.listValue()));
    EXPECT_EQ(&Variant::Empty, &Path("b").evaluate(object.objectValue()));
    EXPECT_EQ(&Variant::Empty, &Path("a[0].x").evaluate(object.objectValue()));
}

TEST(Path, ReadsTheFirstEntryOfARepeatedKey) {
    const Variant root = parsed("{\"k\": 1, \"k\": 2}");
    EXPECT_EQ(1, Path("k").evaluate(root).integerValue());
}

TEST(Path, ReachesAnEmptyKeyOnlyWhenItWasAppended) {
    const Variant root = parsed("{\"\": 1, \"a.b\": 2}");
    EXPECT_EQ(1, (Path() << "").evaluate(root).integerValue());
    EXPECT_EQ(2, (Path() << "a.b").evaluate(root).integerValue());
    EXPECT_EQ(&Variant::Empty, &Path("a.b").evaluate(root));
}

TEST(Path, UnsharesNothingWhenItReads) {
    Variant root = parsed("{\"a\": [1]}");
    const Variant copy(root);
    static_cast<void>(Path("a[0]").evaluate(std::as_const(root)));
    EXPECT_EQ(&copy.objectValue(), &std::as_const(root).objectValue());
}

// --- Creating walks

TEST(Path, CreatesTheLastSegmentOnly) {
    struct Row {
        const char* before;
        const char* path;
        const char* expected;
        bool found;
        const char* why;
    };
    const Row rows[] = {
        {"{}", "a", "{\"a\":null}", true, "a missing key"},
        {"{}", "a.b.c", "{\"a\":null}", false, "the empty value makes the next step miss"},
        {"{\"a\":{}}", "a.b.c", "{\"a\":{\"b\":null}}", false, "one level further"},
        {"{\"a\":{}}", "a.b", "{\"a\":{\"b\":null}}", true, "the last segment"},
        {"[]", "[2]", "[null,null,null]", true, "a list grows"},
        {"[1,2,3]", "[5]", "[1,2,3,null,null,null]", true, "a list grows"},
        {"[]", "name", "[null]", true, "a text counts as 0"},
        {"[]", "[-1]", "[]", false, "a negative index"},
        {"[1]", "[-1]", "[1]", false, "a negative index"},
        {"[]", "[1].a", "[null,null]", false, "a null isn't converted"},
        {"{\"a\":5}", "a.b", "{\"a\":5}", false, "a scalar isn't converted"},
        {"{\"a\":null}", "a.b", "{\"a\":null}", false, "a null isn't converted"},
        {"{\"a\":[{}]}", "a[0].k", "{\"a\":[{\"k\":null}]}", true, "the last segment"},
        {"5", "a", "5", false, "a scalar"},
        {"null", "a", "null", false, "a null"},
        {"{\"a\":1}", "a", "{\"a\":1}", true, "nothing to create"},
    };
    for (const Row& row : rows) {
        Variant root = parsed(row.before);
        Variant& found = Path(row.path).evaluate(root);
        EXPECT_EQ(row.expected, json_of(root)) << row.before << ' ' << row.path << ": " << row.why;
        EXPECT_EQ(row.found, &found != &Variant::Empty) << row.before << ' ' << row.path;
        EXPECT_NE(&Variant::EmptyAutoValue, &found);
    }
}

TEST(Path, AnswersTheNewElementOfAListThatGrew) {
    Variant root = parsed("[1, 2, 3]");
    json::List& list = root.listValue();
    Variant& created = Path("[5]").evaluate(list);
    EXPECT_EQ(6u, list.size());
    EXPECT_EQ(&std::as_const(list)[5], &created);
    EXPECT_TRUE(created.isNull());
}

TEST(Path, CreatesInAnObjectWithItsUsualNotification) {
    BoundObject bound;
    Variant& created = Path("a").evaluate(bound.object());
    EXPECT_TRUE(created.isNull());
    EXPECT_TRUE(created.hasObjectParent());
    EXPECT_TRUE(bound.value.dirty());
    EXPECT_EQ(json::Schema::EmptyPtr.get(), &created.schema());
    EXPECT_EQ(json::Object::key_pool().intern("a").get(), bound.object().begin()->first.get());
}

TEST(Path, UnsharesWhatItPassesWhenItCreates) {
    Variant root = Variant::newObject();
    root["a"] = Variant::newObject();
    root["a"]["b"] = 1;
    const Variant copy(root);
    Path("a.b").evaluate(root) = 2;
    EXPECT_EQ("{\"a\":{\"b\":2}}", json_of(root));
    EXPECT_EQ("{\"a\":{\"b\":1}}", json_of(copy));
}

// --- Walks and steps of subclasses

TEST(Path, CreatesOnlyWhenTold) {
    Variant root = parsed("{\"a\": [1]}");
    const PathProbe missing("b");
    EXPECT_EQ(&Variant::Empty, &missing.evaluate(root, false));
    EXPECT_EQ("{\"a\":[1]}", json_of(root));
    EXPECT_NE(&Variant::Empty, &missing.evaluate(root, true));
    EXPECT_EQ(2u, root.size());
    const PathProbe element("[1]");
    json::List& list = root["a"].listValue();
    EXPECT_EQ(&Variant::Empty, &element.evaluate(list, false));
    EXPECT_EQ(1u, list.size());
    EXPECT_NE(&Variant::Empty, &element.evaluate(list, true));
    EXPECT_EQ(2u, list.size());
    json::Object& object = root.objectValue();
    const PathProbe entry("c");
    EXPECT_EQ(&Variant::Empty, &entry.evaluate(object, false));
    EXPECT_NE(&Variant::Empty, &entry.evaluate(object, true));
    EXPECT_EQ(3u, root.size());
}

TEST(Path, TakesOneStep) {
    const PathProbe path;
    Variant root = parsed("[1, 2]");
    json::List& list = root.listValue();
    char second[] = "1";
    char third[] = "2";
    char negative[] = "-1";
    char word[] = "word";
    EXPECT_EQ(&std::as_const(list)[1], path.eval1(second, list, false));
    EXPECT_EQ(&std::as_const(list)[0], path.eval1(word, list, false));
    EXPECT_EQ(nullptr, path.eval1(third, list, false));
    EXPECT_EQ(nullptr, path.eval1(negative, list, false));
    EXPECT_EQ(nullptr, path.eval1(negative, list, true));
    EXPECT_EQ(2u, list.size());
    Variant* created = path.eval1(third, list, true);
    EXPECT_EQ(&std::as_const(list)[2], created);
    EXPECT_EQ(created, path.eval1(third, root, false));
    json::Object object;
    EXPECT_EQ(nullptr, path.eval1(word, object, false));
    Variant* entry = path.eval1(word, object, true);
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ(entry, path.eval1(word, object, false));
    Variant scalar(5);
    EXPECT_EQ(nullptr, path.eval1(word, scalar, true));
    Variant null;
    EXPECT_EQ(nullptr, path.eval1(word, null, true));
    EXPECT_TRUE(null.isNull());
}

} // namespace
