// SPDX-License-Identifier: MIT
#include "rpc/IResponseListener.h"

namespace json {

IResponseListener::~IResponseListener() = default;

} // namespace json
