#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <cstddef>
#include <type_traits>

/// \file
/// Records of the account library, returned as references to objects that it owns.
///
/// The order and types of all fields are a binary contract: fields named unread... only keep the
/// offsets of the later ones.

/// One known account.
struct AccountListItem
{
    bool isCompanyAccount = false;
    bool isCurrent = false;
    bool isLogin = false;
    bool needTfa = false;
    qint32 loginAccountLimit = 0;
    QString userId;
    QString nickname;
    QString avatarUrl;
    QString companyId;
    QString companyName;
    QString companyLogo;
    QString companyCustomDomain;
    QString status;
    QString sessionStatus;
    QString reason;
    QString loginMode;
    QString logoutReason;
    QString linkText;
    QString linkUrl;
};

/// Authorisation of the current account.
struct AccountAuthInfo
{
    unsigned char unreadPlain[24] = {};
    QDateTime unreadTime1;
    QDateTime unreadTime2;
    QString userId;
    QString unreadText1[4];
    QString companyId;
    QString unreadText2[3];
    QString coaId;
    QVariantMap unreadExtra;
};

/// Profile of the current account.
struct AccountUserInfo
{
    unsigned char unreadPlain[8] = {};
    QString unreadText1[12];
    QStringList unreadList;
    QString unreadText2[3];
    QString registrationTime;
    QString unreadText3[6];
};

static_assert(sizeof(QString) == 8 && sizeof(QStringList) == 8 && sizeof(QDateTime) == 8 &&
              sizeof(QVariantMap) == 8);

static_assert(std::is_standard_layout_v<AccountListItem> && sizeof(AccountListItem) == 120);
static_assert(offsetof(AccountListItem, loginAccountLimit) == 4);
static_assert(offsetof(AccountListItem, userId) == 8);
static_assert(offsetof(AccountListItem, linkUrl) == 112);

static_assert(std::is_standard_layout_v<AccountAuthInfo> && sizeof(AccountAuthInfo) == 128);
static_assert(offsetof(AccountAuthInfo, userId) == 40);
static_assert(offsetof(AccountAuthInfo, companyId) == 80);
static_assert(offsetof(AccountAuthInfo, coaId) == 112);

static_assert(std::is_standard_layout_v<AccountUserInfo> && sizeof(AccountUserInfo) == 192);
static_assert(offsetof(AccountUserInfo, unreadList) == 104);
static_assert(offsetof(AccountUserInfo, registrationTime) == 136);
