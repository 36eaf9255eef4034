// SPDX-License-Identifier: MIT
// A path, parsed, appended to and cut, beside a plain list of segments: the same segments, and the
// same places in a value.

#include "json/Path.h"
#include "fuzz/support/Require.h"
#include "fuzz/support/Trees.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

bool separates(char c) { return c == '.' || c == '[' || c == ']' || c == '\0'; }

/// The segments of a path as its class comment tells of them.
class Segments {
public:
    explicit Segments(const std::string& text) {
        std::string segment;
        for (const char c : text + '.') {
            if (!separates(c)) {
                segment += c;
            } else if (!segment.empty()) {
                all.push_back(segment);
                segment.clear();
            }
        }
        if (!text.empty() && !separates(text.back())) {
            openEnd_ = all.size();
            lastParsed_ = all.back();
        }
    }

    void append(const std::string& segment) {
        // The first one runs on into the last parsed segment.
        if (openEnd_ > 0 && all.size() == openEnd_) all.back() = lastParsed_ + segment;
        all.push_back(segment);
    }
    void pop() {
        if (all.empty()) return;
        all.pop_back();
        if (all.size() < openEnd_) openEnd_ = 0;
    }

    std::vector<std::string> all;

private:
    std::size_t openEnd_ = 0; // how many were parsed, if the text didn't end in a separator
    std::string lastParsed_;
};

const json::Variant& element_at(const json::List& list, const std::string& segment) {
    const long long index = std::strtoll(segment.c_str(), nullptr, 10);
    if (index < 0 || index > std::numeric_limits<int>::max()) return json::Variant::Empty;
    if (static_cast<std::size_t>(index) >= list.size()) return json::Variant::Empty;
    return list.at(static_cast<std::size_t>(index));
}

const json::Variant& walk(const json::Variant& root, const std::vector<std::string>& segments) {
    const json::Variant* value = &root;
    for (const std::string& segment : segments) {
        if (value->isList()) {
            value = &element_at(value->listValue(), segment);
        } else if (value->isObject() && value->contains(segment.c_str())) {
            value = &(*value)[segment];
        } else {
            return json::Variant::Empty;
        }
        if (value == &json::Variant::Empty) return *value;
    }
    return *value;
}

void check(const json::Path& path, const Segments& segments, const json::Variant& root) {
    fuzz::require(path.size() == segments.all.size(), "as many segments");
    for (std::size_t i = 0; i < path.size(); ++i) {
        fuzz::require(path[i] == segments.all[i], "the same segment", path[i]);
    }
    fuzz::require(&path.evaluate(root) == &walk(root, segments.all), "the same place");
    fuzz::require(&root.select(path) == &walk(root, segments.all), "the same place, selected");
    std::ostringstream out;
    out << path;
    fuzz::require(path.size() == 0 || segments.all == std::vector<std::string>(1) ||
                      !out.str().empty(),
                  "a path has a text");
}

/// Writes where it doesn't make a list grow beyond what a test can bear.
void write(const json::Path& path, const Segments& segments, json::Variant root) {
    for (const std::string& segment : segments.all) {
        if (std::strtoll(segment.c_str(), nullptr, 10) > 1000) return;
    }
    root.deepCopy();
    json::Variant& place = root.select(path);
    if (&place == &json::Variant::Empty) return;
    place = "written";
    fuzz::require(&walk(root, segments.all) == &place, "what was written is found again");
    fuzz::require(fuzz::printed(path.evaluate(std::as_const(root))) == "\"written\"",
                  "what was written is read");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Choices choices(data, size);
    const std::string text = choices.bytes(40);
    const json::Variant root = fuzz::make_value(choices);
    json::Path path(text);
    Segments segments(text);
    check(path, segments, root);
    write(path, segments, root);
    for (std::size_t changes = choices.below(12); changes > 0; --changes) {
        switch (choices.below(5)) {
        case 0:
            path.pop();
            segments.pop();
            break;
        case 1: {
            const std::string segment = choices.bytes(20);
            path << segment.c_str();
            segments.append(segment.c_str());
            break;
        }
        case 2: {
            const std::int64_t index = choices.integer();
            path << static_cast<std::size_t>(index);
            segments.append(std::to_string(static_cast<std::uint32_t>(index)));
            break;
        }
        case 3: {
            const char* key = choices.pick(fuzz::kKeys);
            path << qx::IntrusiveString(key);
            segments.append(key);
            break;
        }
        default: {
            if (path.size() == 0) break;
            const std::size_t own = choices.below(path.size());
            const std::string segment = path[own];
            path << path[own];
            segments.append(segment);
            break;
        }
        }
        check(path, segments, root);
        check(json::Path(path), segments, root);
        write(path, segments, root);
    }
    json::Path assigned(choices.bytes(10));
    assigned = path;
    check(assigned, segments, root);
    return 0;
}
