// The count that refhost/live_objects.h gives, kept by the base classes.
#ifndef REFHOST_BASE_OBJECT_COUNT_H
#define REFHOST_BASE_OBJECT_COUNT_H

namespace refhost {

// One more, or one less with -1.
void CountVendors(long more);
void CountModules(long more);

}  // namespace refhost

#endif  // REFHOST_BASE_OBJECT_COUNT_H
