#pragma once

#include "base/callbackfunc.h"

#include <QObject>
#include <QString>

/// \file
/// The two methods of the account module that go through the office suite. Each submits a task; the
/// answer comes later, on a library thread, perhaps more than once, perhaps after the framework was
/// stopped. Each final status is answered; none is once the framework was stopped.
///
/// \param context tells the scheduler how long the submitter lives; not used otherwise.

/// What the host gets when there is no login service. spelling is part of the interface
extern const QString kLoginServiceMissing;

/// Signs in with a grant of the office suite: its result, or an empty one when it refuses, goes to
/// the login service together with "extParam", and the login service answers.
void loginThroughOffice(QObject *context, const QVariantMap &params, const CallBackFunc &callback);

/// Asks the office suite for its user and answers with it unless that user is known here already.
void requestOfficeUser(QObject *context, const CallBackFunc &callback);
