#include "filtering/StreamArrayNames.h"

const char* const StreamArrayNames::_normalsName = "Normals";
const char* const StreamArrayNames::_vorticityName = "Vorticity";
const char* const StreamArrayNames::_unTwistedNormalsName = "UnTwistedNormals";
const char* const StreamArrayNames::_arcLengthName = "ArcLength";
const char* const StreamArrayNames::_endPointStatusName = "EndPointStatus";
const char* const StreamArrayNames::_integrationTimeName = "IntegrationTime";
const char* const StreamArrayNames::_pseudoTimeName = "PseudoTime";
