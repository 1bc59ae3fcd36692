/* Back-off schedule of Scope::ReadWriteLocked. */
#ifndef DW_REFDB_SCOPE_LOCK_H
#define DW_REFDB_SCOPE_LOCK_H

namespace dw {
namespace refdb {

/* Micro-seconds to sleep after the busy_count-th busy try-lock: nothing for
 * the first four, then 1, 2, 3, 4, 5 and round again (count mod 5 + 1). */
constexpr unsigned int busy_sleep_us(unsigned int busy_count)
{
    return busy_count > 4 ? busy_count % 5 + 1 : 0;
}

}  // namespace refdb
}  // namespace dw

#endif
