// SPDX-License-Identifier: MIT
// Names of rpc/ for headers that only mention them.
#pragma once

#include "schema/Forward.h"

namespace json {

class Conversation;
class IResponseListener;
class JsonServer;
class Request;
class Response;

} // namespace json
