#pragma once

#include <cstddef>

namespace bench {

/// The bytes of heap, malloc's own included, that an agent holds for each service of a list of
/// `count` services. `count` must be more than 10.
double MeasureHeapPerService(std::size_t count);

}  // namespace bench
