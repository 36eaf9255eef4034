// SPDX-License-Identifier: MIT
// All public headers of device/.
#pragma once

#include "device/Cache.h"
#include "device/Forward.h"
#include "device/GatecastConversation.h"
#include "device/IJsonHeaderUpdateReceiver.h"
#include "device/MailBoxEntry.h"
