#pragma once

#include <vector>

#include "host/web/EmbeddedFile.h"

namespace host {

/// The files of host/page/.
std::vector<web::EmbeddedFile> GetPageFiles();

}  // namespace host
