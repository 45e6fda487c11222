#pragma once

#include <QMetaType>
#include <QVariantMap>

#include <functional>

/// Completion function of a module method: takes the reply map. May be empty; may be called on any
/// thread, late, or more than once by a closed library.
using CallBackFunc = std::function<void(const QVariantMap &)>;

Q_DECLARE_METATYPE(CallBackFunc)
