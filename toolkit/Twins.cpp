#include "toolkit/Device.h"

extern "C" {

#define TWIN(result, name, parameters, ...)                                                                            \
    result ZELCAL_CALL name parameters                                                                                 \
    {                                                                                                                  \
        return name##_M(Toolkit::DefaultDevice() __VA_OPT__(, ) __VA_ARGS__);                                          \
    }
#include "toolkit/Twins.def"
}
