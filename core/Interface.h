// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"

namespace qx {

/// The root of all listener interfaces. Each inherits it virtually, so that a class that implements
/// several listeners holds one. It has no data, and copies carry nothing.
/// Threads: any thread.
class GATECAST_EXPORT IInterface {
public:
    IInterface() = default;
    /// Carries nothing.
    /// @{
    IInterface(const IInterface&) = default;
    IInterface& operator=(const IInterface&) = default;
    /// @}

    // The order of the virtual operations is ABI.
    virtual ~IInterface();
    /// This object when `id` is "qx::IInterface", null for every other id: an extension point that
    /// no class of the library overrides. The const form asks the other one.
    /// Bad input: null gives null.
    /// @{
    virtual const void* getInterface(const char* id) const;
    virtual void* getInterface(const char* id);
    /// @}

    /// "qx::IInterface".
    static const char* ID();
};

/// A concrete class with the same operations. It inherits the root as listeners do, so that it goes
/// together with them.
/// Threads: any thread.
class GATECAST_EXPORT InterfaceStub : public virtual IInterface {
public:
    InterfaceStub() = default;
    /// Carries nothing.
    /// @{
    InterfaceStub(const InterfaceStub&) = default;
    InterfaceStub& operator=(const InterfaceStub&) = default;
    /// @}
    ~InterfaceStub() override;
};

} // namespace qx
