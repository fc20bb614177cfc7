#include "build_date.h"

namespace trace {

const char build_date[12] = DIRWATCH_BUILD_DATE;
const char build_time[9] = DIRWATCH_BUILD_TIME;

}  // namespace trace
