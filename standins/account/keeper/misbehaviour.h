#pragma once

#include "keeper/script.h"

namespace zefstandin {

/// Random misbehaviour number \p ordinal of an operation; the same for the same arguments.
Script misbehaviour(unsigned seed, const QString &operation, unsigned ordinal);

} // namespace zefstandin
