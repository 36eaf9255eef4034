// SPDX-License-Identifier: MIT
// All public headers of rpc/.
#pragma once

#include "rpc/Conversation.h"
#include "rpc/Forward.h"
#include "rpc/IResponseListener.h"
#include "rpc/JsonServer.h"
#include "rpc/Request.h"
#include "rpc/Response.h"
