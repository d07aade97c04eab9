#include "system/removetree.h"

// Placeholder: replaced by the real implementation.
bool RemoveTree(const QString&) { return false; }
