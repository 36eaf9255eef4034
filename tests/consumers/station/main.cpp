// SPDX-License-Identifier: MIT
// Opens the door of a simulated station.
#include <station/Station.h>

#include <iostream>

int main() {
    station::Station station;
    const station::SessionId phone = station.connect();
    const auto frames = station.receive(phone, R"({"method":"trigger","params":["door"],"id":1})");
    for (const station::Frame& frame : frames) {
        std::cout << frame.bytes << '\n';
    }
    return station.doorIsOpen() ? 0 : 1;
}
