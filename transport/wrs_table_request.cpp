/* Sends the web-reputation table: the caller's 264-byte header followed by
 * its entries, made contiguous in one image. */
#include <stdlib.h>
#include <string.h>

#include "dpiwrapper/requests.h"
#include "transport/request_shapes.h"
#include "transport/sys_ops.h"

namespace {

constexpr size_t kHeaderSize = 264;
constexpr size_t kCountOffset = 1;
constexpr size_t kEntriesPointerOffset = 264; /* in the caller's structure */
constexpr size_t kEntrySize = 135;

}  // namespace

int set_wrs_tbl_ioctl(const void *header)
{
    if (header == nullptr) return -1;
    const uint8_t *head = static_cast<const uint8_t *>(header);
    const size_t count = head[kCountOffset];
    const void *entries;
    memcpy(&entries, head + kEntriesPointerOffset, sizeof entries);
    if (count > 0 && entries == nullptr) return -1;

    const size_t size = kHeaderSize + kEntrySize * count;
    uint8_t *image = static_cast<uint8_t *>(dw::sys::ops().calloc(size, 1));
    if (image == nullptr) return -1;
    memcpy(image, head, kHeaderSize);
    if (count > 0) memcpy(image + kHeaderSize, entries, kEntrySize * count);
    const int result = dw::request_input(dw::RequestId::set_wrs_tbl_ioctl, image, static_cast<unsigned int>(size));
    free(image);
    return result;
}
