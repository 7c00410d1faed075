// A library that is almost a plug-in library: it doesn't tell when it was loaded.

#include "vessa.h"

using namespace QUOR;

extern "C" VESSA_API IPluginObject* CreatePluginInstanceEx(const char* /*name*/) { return nullptr; }

extern "C" VESSA_API CValueVector* ListPlugins() { return new CValueVector; }
