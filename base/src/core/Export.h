#pragma once

/// Marks a class or function as part of a shared library's interface; everything else is hidden.
#define TAVO_EXPORT __attribute__((visibility("default")))
