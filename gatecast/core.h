// SPDX-License-Identifier: MIT
// All public headers of core/.
#pragma once

#include "core/Export.h"
#include "core/Forward.h"
#include "core/IPAddress.h"
#include "core/Interface.h"
#include "core/IntrusiveObject.h"
#include "core/IntrusiveString.h"
#include "core/KeptMemory.h"
#include "core/Mutex.h"
#include "core/PooledStringMap.h"
#include "core/SignalPublisher.h"
#include "core/StringPool.h"
#include "core/Url.h"
#include "core/Version.h"
