// SPDX-License-Identifier: MIT
#include "json/Build.h"

namespace json {

Variant object(std::initializer_list<Member> members) {
    boost::intrusive_ptr<Object> built(new Object);
    for (const Member& member : members) {
        built->setValue(member.key().c_str(), member.value());
    }
    return built;
}

Variant list(std::initializer_list<Element> elements) {
    boost::intrusive_ptr<List> built(new List);
    for (const Element& element : elements) {
        *built << element.value();
    }
    return built;
}

} // namespace json
