// Libraries that are almost plug-in libraries: each lacks one of the exports.

#include "vessa.h"

using namespace QUOR;

#ifndef LACKS_Create
extern "C" VESSA_API IPluginObject* CreatePluginInstanceEx(const char* /*name*/) { return nullptr; }
#endif

#ifndef LACKS_List
extern "C" VESSA_API CValueVector* ListPlugins() { return new CValueVector; }
#endif

#ifndef LACKS_Timestamp
extern "C" VESSA_API std::int64_t get_loading_timestamp() { return 0; }
#endif
