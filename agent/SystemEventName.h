#pragma once

/// Returns the name of a system event, or "Unknown" for a code without a name. Never null.
const char* GetSystemEventName(unsigned int code);
