// SPDX-License-Identifier: MIT
#include "device/Cache.h"

namespace qx {

template class Cache<unsigned long long, std::string>;
template class MemoryCache<unsigned long long, std::string>;
template class MultiCache<unsigned long long, std::string>;

} // namespace qx
