#include "transport/request_catalogue.h"

namespace dw {
namespace {

const RequestEntry kCatalogue[] = {
#define DW_REQUEST(function, group, command, code, direction, size, result, alloc, shape)              \
    {#function, group, command, code, Direction::direction, size, ResultRule::result, AllocMessage::alloc, \
     Shape::shape},
#include "transport/request_catalogue.def"
#undef DW_REQUEST
};

}  // namespace

const RequestEntry &request_entry(RequestId id) { return kCatalogue[static_cast<unsigned>(id)]; }

const RequestEntry *request_catalogue(size_t *count)
{
    *count = sizeof kCatalogue / sizeof kCatalogue[0];
    return kCatalogue;
}

}  // namespace dw
