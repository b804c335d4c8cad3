#include "db/upcalls.h"

#include "base/state.h"

Upcalls& upcalls() {
    return stateOf<Upcalls>();
}
