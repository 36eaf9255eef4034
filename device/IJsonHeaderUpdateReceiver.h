// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/Interface.h"

namespace qx {

/// Takes the header updates of a video stream.
///
/// A header update is one buffer: JSON text, then a zero byte, then a binary part that may be
/// absent. What brings the buffers, a video pipeline or a socket, is the application's affair.
/// Threads: one at a time; call it on the thread that feeds text.
class GATECAST_EXPORT IJsonHeaderUpdateReceiver : public virtual IInterface {
public:
    IJsonHeaderUpdateReceiver() = default;
    /// Carries nothing.
    /// @{
    IJsonHeaderUpdateReceiver(const IJsonHeaderUpdateReceiver&) = default;
    IJsonHeaderUpdateReceiver& operator=(const IJsonHeaderUpdateReceiver&) = default;
    /// @}

    // The order of the virtual operations is ABI.
    ~IJsonHeaderUpdateReceiver() override;
    /// @param size  of the whole buffer, in bytes. The buffer lives for the length of the call.
    virtual void receiveJsonHeaderUpdate(const unsigned char* data, unsigned int size) = 0;

    /// "qx::IJsonHeaderUpdateReceiver"
    static const char* ID();
};

} // namespace qx
