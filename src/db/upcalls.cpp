#include "db/upcalls.h"

namespace {

Upcalls installed;

}  // namespace

Upcalls& upcalls() {
    return installed;
}
