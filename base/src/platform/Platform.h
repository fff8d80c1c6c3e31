#pragma once

#include "platform/FileSystem.h"

/// Access to the platform's services.
class TAVO_EXPORT Platform
{
public:
    /// The process's file system. Never fails.
    static OS::FileSystem& filesystem();
};
