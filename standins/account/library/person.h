#pragma once

#include "account/accountrecords.h"

namespace zefstandin {

/// One person whom the account service knows, with what proves who it is.
struct Person
{
    AccountListItem item;
    QString ssid;
    QString randcode;
    QString authorizeCode;
    QString coaId;
    QString registrationTime;
    bool isKeepOnline = false;
};

/// Keys as in the account list that the host sees, and "ssid", "randcode", "authorizeCode",
/// "coa_Id", "reg_time", "keep_online". What proves the person is made from the user id when it is
/// left out: "ssid-" + id, "randcode-" + id, "code-" + id.
Person personFromMap(const QVariantMap &map);

/// The inverse.
QVariantMap mapFromPerson(const Person &person);

/// The records of the current person.
AccountAuthInfo authInfoOf(const Person &person);
AccountUserInfo userInfoOf(const Person &person);

/// Person number \p number of a generated list: "user-1" and so on.
Person generatedPerson(int number);

} // namespace zefstandin
