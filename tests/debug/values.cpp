// SPDX-License-Identifier: MIT
// What the printers of the debugger are tried on: a value of each type, also in a state that no
// program brings about. It is stopped in `look` and never runs on.
#include "core/IPAddress.h"
#include "core/Url.h"
#include "rpc/Request.h"
#include "schema/Schema.h"
#include "json/Path.h"
#include "json/Variant.h"

#include <boost/intrusive_ptr.hpp>

#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>

namespace {

/// Values in memory, whatever an optimizer thinks of them.
[[gnu::noinline]] void look(std::initializer_list<const void*> places) {
    asm volatile("" : : "r"(places.begin()) : "memory");
}

/// Lays words over an object that is never destroyed.
template <typename T>
struct Broken {
    alignas(T) alignas(
        unsigned long) unsigned long words[(sizeof(T) + sizeof(long) - 1) / sizeof(long)] = {};
};

} // namespace

int main() {
    const json::Variant null;
    const json::Variant yes(true);
    const json::Variant integer(std::numeric_limits<std::int64_t>::min());
    const json::Variant real(2.0);
    const json::Variant notANumber(std::numeric_limits<double>::quiet_NaN());
    const json::Variant text(std::string("a \"b\"\n\t\x1b[31m \xc3\xa4 \xff\0 end", 21));
    const json::Variant longText(std::string(300, 'x'));
    const json::Variant empty("");

    json::Variant tree;
    tree["door"]["open"] = true;
    tree["door"]["name"] = "front";
    tree["codes"] << 1 << 2.5 << nullptr << "four";
    tree["none"] = json::Variant::newObject();
    const json::Variant shared(tree);
    const json::Variant third(tree);
    json::Variant many;
    for (int i = 0; i < 300; ++i) {
        many << i;
    }
    json::Variant deep;
    for (int i = 0; i < 100; ++i) {
        json::Variant outer;
        outer << deep;
        deep = outer;
    }
    json::Variant itself;
    itself["a"]["b"] = 1;
    itself["a"]["b"] = itself;

    const json::List list(tree["codes"].listValue());
    const json::Object object(tree["door"].objectValue());
    const boost::intrusive_ptr<json::Object> objectPointer = shared.objectPtr();
    const boost::intrusive_ptr<json::List> noList;
    const boost::intrusive_ptr<qx::IntrusiveString> key = json::Object::key_pool().intern("door");
    const qx::IntrusiveString string("plain");
    const json::Path path("door.names[3].first");
    const json::Path noPath;
    const qx::Url url("http://example.com/volume");
    const qx::IPAddress four("192.168.1.17");
    const qx::IPAddress none("localhost");
    qx::PooledStringMap<int> map;
    map["one"] = 1;
    map["two"] = 2;

    const boost::intrusive_ptr<json::Schema> schema(new json::Schema(
        R"({"id":"http://example.com/volume","properties":{"level":{"type":"integer","maximum":11}}})"));
    json::Variant volume;
    volume["level"] = 12;
    const json::Schema::ValidationResult fault = schema->validate(volume);
    const json::Schema::ValidationResult valid = schema->validate(json::Variant(3));
    volume.attachSchema(schema);
    const json::Request request("open", json::Variant::newList(), 7);

    Broken<json::Variant> wrongType;
    wrongType.words[4] = 7;
    Broken<json::Variant> wrongFlags;
    std::memset(wrongFlags.words, 0xaa, sizeof wrongFlags.words);
    Broken<json::Variant> wrongSchema; // an Integer
    wrongSchema.words[0] = 17;
    wrongSchema.words[2] = 0x10;
    wrongSchema.words[4] = 2;
    Broken<json::Variant> wildObject;
    wildObject.words[0] = 0x10;
    wildObject.words[4] = 5;
    Broken<json::Variant> wildText;
    wildText.words[1] = 0x10;
    wildText.words[4] = 4;
    Broken<json::List> wildList;
    wildList.words[2] = 0x1000;
    wildList.words[3] = 0x1000 + 5 * sizeof(json::Variant);
    wildList.words[4] = wildList.words[3];
    Broken<json::List> unevenList;
    unevenList.words[2] = 0x1000;
    unevenList.words[3] = unevenList.words[4] = 0x1001;
    Broken<json::Object> circle; // its first entry follows itself
    unsigned long node[12] = {};
    node[1] = reinterpret_cast<unsigned long>(node);
    circle.words[1] = circle.words[2] = reinterpret_cast<unsigned long>(node);
    circle.words[3] = 1UL << 30;
    Broken<json::Object> hugeObject;
    hugeObject.words[3] = ~0UL;
    Broken<qx::IntrusiveString> wildString;
    wildString.words[1] = 0x10;
    wildString.words[2] = wildString.words[3] = 1UL << 40;
    Broken<qx::IntrusiveString> longerThanItsRoom;
    longerThanItsRoom.words[1] = reinterpret_cast<unsigned long>(&longerThanItsRoom.words[3]);
    longerThanItsRoom.words[2] = 17;
    Broken<json::Path> wildPath;
    Broken<json::Path> farPath;
    unsigned long offsets[2] = {1UL << 50, 1UL << 50};
    farPath.words[3] = reinterpret_cast<unsigned long>(offsets);
    farPath.words[4] = farPath.words[5] = reinterpret_cast<unsigned long>(offsets + 2);
    Broken<qx::IPAddress> wildAddress;
    wildAddress.words[0] = ~0UL;

    look({&null,     &yes,        &integer,     &real,        &notANumber,    &text,
          &longText, &empty,      &tree,        &shared,      &third,         &many,
          &deep,     &itself,     &list,        &object,      &objectPointer, &noList,
          &key,      &string,     &path,        &noPath,      &url,           &four,
          &none,     &map,        &schema,      &volume,      &fault,         &valid,
          &request,  &wrongType,  &wrongFlags,  &wrongSchema, &wildObject,    &wildText,
          &wildList, &unevenList, &circle,      &hugeObject,  &wildString,    &longerThanItsRoom,
          &wildPath, &farPath,    &wildAddress, node,         offsets});
    return 1;
}
