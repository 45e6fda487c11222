#pragma once

#include "base/callbackfunc.h"

#include <QObject>

/// \file
/// The two methods of the account module that use the office suite. Each submits a task, which is
/// answered later on a library thread, possibly more than once or after the framework was stopped.
/// Each final status results in a reply, unless the framework was stopped.
///
/// \param context tells the scheduler whether the submitter still exists; not used otherwise.

/// Signs in with a grant of the office suite: its result, or an empty one when it refuses, goes to
/// the login service together with "extParam", and the login service answers.
void loginThroughOffice(QObject *context, const QVariantMap &params, const CallBackFunc &callback);

/// Asks the office suite for its user and answers with it unless that user is in the account list
/// already.
void requestOfficeUser(QObject *context, const CallBackFunc &callback);
