#pragma once

#include <QString>

/// \file
/// Names in the messages between the office suite and the meeting application.

/// The task that carries a message to the office suite.
const auto kNotifyOffice = QStringLiteral("notifyOfficeMsg");

const auto kMsgType = QStringLiteral("msgType");

// Message types; also the names of the tasks that they trigger.
const auto kEnterMeeting = QStringLiteral("enterMeeting");
const auto kGetMeetingStatus = QStringLiteral("getMeetingStatus");
const auto kCloseMeetingApp = QStringLiteral("closeMeetingApp");
