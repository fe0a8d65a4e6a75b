// Marks what the host libraries offer beyond the plug-in contract to the programs that are built with them.
#ifndef REFHOST_EXPORT_H
#define REFHOST_EXPORT_H

#define REFHOST_EXPORT __attribute__((visibility("default")))

#endif  // REFHOST_EXPORT_H
