# SPDX-License-Identifier: MIT
# What happens when memory runs out, in all layers. A program of its own: it replaces operator new.
gatecast_add_tests(memory_tests
    JsonMemoryTest.cpp
    KeptMemoryTest.cpp
    MemoryExhaustionTest.cpp
    support/FailingMemory.cpp)
