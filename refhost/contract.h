// The host contract as the libraries that implement it include it: everything else in these libraries is hidden, what
// the contract declares is visible to plug-ins.
#ifndef REFHOST_CONTRACT_H
#define REFHOST_CONTRACT_H

#pragma GCC visibility push(default)
#include "host/DllCommon.h"
#include "host/ProviderBase.h"
#pragma GCC visibility pop

#endif  // REFHOST_CONTRACT_H
