// SPDX-License-Identifier: MIT
#include "core/Interface.h"

#include <cstring>

namespace qx {

IInterface::~IInterface() = default;

const char* IInterface::ID() { return "qx::IInterface"; }

const void* IInterface::getInterface(const char* id) const {
    return const_cast<IInterface*>(this)->getInterface(id);
}

void* IInterface::getInterface(const char* id) {
    // Intended: nobody in the library answers for the name of an interface of his own.
    // Held by Interface.AnswersNullForEveryOtherName.
    return id != nullptr && std::strcmp(id, ID()) == 0 ? this : nullptr;
}

InterfaceStub::~InterfaceStub() = default;

} // namespace qx
