// SPDX-License-Identifier: MIT
#include "expect.h"
#include "json/Build.h"
#include "json/Format.h"

#include <string>

namespace {

void format() {
    const json::Variant door = json::object({{"open", true}, {"name", "front"}});
    const std::string line = fmt::format("state: {}", door); // {"open":true,"name":"front"}
    const std::string page = fmt::format("{:#}\n", door);    // indented by tabs, keys sorted
    const std::string bare = fmt::format("{}", std::string(door["name"])); // without quotes
    EXPECT(line == "state: {\"open\":true,\"name\":\"front\"}");
    EXPECT(page == "{\n\t\"name\": \"front\",\n\t\"open\": true\n}\n\n" && bare == "front");
}

} // namespace

int main() { format(); }
