#pragma once

/// The whole contract of the host library `vessa`. All names lie in the namespace `QUOR`.

#include "Value/ValueContainer.h"
#include "Value/ValueKey.h"
#include "Value/ValueMap.h"
#include "Value/ValuePointer.h"
#include "Value/ValueScalar.h"
#include "Value/ValueVector.h"
#include "base/Exception.h"
#include "base/Object.h"
#include "base/String.h"
#include "base/Types.h"
#include "base/VectorVariants.h"
#include "image/Buffer.h"
#include "image/Image.h"
#include "image/ImageExtraction.h"
#include "image/Rows.h"
#include "image/Size.h"
#include "plugin/Node.h"
#include "plugin/PluginBase.h"
#include "plugin/PluginModule.h"
#include "plugin/PluginObject.h"
