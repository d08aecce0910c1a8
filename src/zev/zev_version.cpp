#include <ZEV/ZEV_Version.h>

const char* zev::Version() { return ZEV_VERSION_STRING; }
