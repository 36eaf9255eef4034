// SPDX-License-Identifier: MIT
#pragma once

#include "json/Variant.h"

/// What a static object of another translation unit parsed before main.
const json::Variant& early_tree();
