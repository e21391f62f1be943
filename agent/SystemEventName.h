#pragma once

/// The name of a system event; "Unknown" for a code that has none. Never null.
const char* GetSystemEventName(unsigned int code);
