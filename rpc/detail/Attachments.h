// SPDX-License-Identifier: MIT
// Internal: may change at any time.
#pragma once

#include "core/Export.h"
#include "json/Variant.h"

namespace json::detail {

/// The binary attachments of a response, each a string with the raw bytes. An object without any
/// gives the list of `Variant::EmptyList` and isn't changed.
GATECAST_EXPORT const List& binary_attachment_list(const Object& response);

/// Appends a block of exactly `length` bytes to the attachments and yields it.
/// Bad input: a member that isn't a list is replaced by one.
GATECAST_EXPORT Variant& add_binary_attachment(Object& response, const char* data,
                                               unsigned int length);

} // namespace json::detail
