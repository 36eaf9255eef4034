// SPDX-License-Identifier: MIT
// All public headers of json/.
#pragma once

#include "json/Build.h"
#include "json/Forward.h"
#include "json/JsonParser.h"
#include "json/JsonPrinter.h"
#include "json/List.h"
#include "json/Literals.h"
#include "json/Object.h"
#include "json/Path.h"
#include "json/TextPlace.h"
#include "json/TreeIterator.h"
#include "json/Variant.h"
#include "json/VariantIterator.h"
