#pragma once

#include "core/Export.h"

/// Names of the arrays that the streamline filters attach to their output.
struct TAVO_EXPORT StreamArrayNames
{
    static const char* const _normalsName;
    static const char* const _vorticityName;
    static const char* const _unTwistedNormalsName;
    static const char* const _arcLengthName;
    static const char* const _endPointStatusName;
    static const char* const _integrationTimeName;
    static const char* const _pseudoTimeName;
};
