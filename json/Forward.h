// SPDX-License-Identifier: MIT
// Names of json/ for headers that only mention them.
#pragma once

#include "core/Forward.h"

#include <cstdint>

namespace json {

class Element;
class IJsonParserListener;
class JsonParser;
class JsonPrinter;
class List;
class Member;
class Object;
class Path;
class TreeIterator;
class VarListIterator;
class VarObjectIterator;
class VarSingleIterator;
class Variant;
class VariantIterator;

struct TextPlace;

enum class Type : std::uint8_t;

} // namespace json
