// Exists so that the precompiled header has a target to belong to; see cmake/AddTest.cmake.
