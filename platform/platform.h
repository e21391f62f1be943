#pragma once

// All that a plug-in may use of the host's driver framework, and the only header of it that a
// plug-in includes. To bind plug-ins to another framework, put another header in its place.

#include "platform/Dispatchers.h"
#include "platform/Interfaces.h"
#include "platform/Logger.h"
#include "platform/Messages.h"
#include "platform/QxBaseDriver.h"
#include "platform/QxTime.h"
#include "platform/SystemEvent.h"
#include "platform/Types.h"
#include "platform/xml/XmlNode.h"
