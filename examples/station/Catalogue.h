// SPDX-License-Identifier: MIT
#pragma once

#include "json/Variant.h"

#include <string>

namespace station {

/// The methods that a station knows, as the records that "list_methods" answers.
///
/// One record per method: "method", "description", "result" (the type of what comes back) and
/// "params", a list of parameters in call order. A parameter has "type", "description" and, where
/// they say something, "min", "max", "list" (the allowed values) and "optional". The same records
/// check the parameters of a request, so that the description can't drift from what is accepted.
/// Threads: one at a time.
class Catalogue {
public:
    /// @param versionMajor  0 for the first kind of devices, above 0 for the later ones, which
    ///     have an address list in the place of contact numbers.
    explicit Catalogue(int versionMajor);

    /// All records, in the order in which they are listed.
    const json::Variant& records() const { return records_; }
    /// The record of the method; null when there is none.
    const json::Variant& find(const std::string& method) const;
    /// What is wrong with the parameters, as a text for a person; empty when nothing is.
    static std::string faultOf(const json::Variant& record, const json::List& params);

private:
    json::Variant records_;
};

} // namespace station
