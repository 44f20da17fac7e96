// Messages to the user, wherever the user is.
//
// The program shows its messages through one function. It is the system's message box in the Windows program; the Linux
// program and unattended runs put the text on standard error and answer every question in a fixed way.
#pragma once

#include <string>

enum class MessageIcon { Error, Information, Question };
enum class MessageButtons { Ok, YesNo };

struct Message {
    std::string strText;     // ANSI code page
    std::string strCaption;  // empty: the system's own caption
    MessageIcon icon = MessageIcon::Error;
    MessageButtons buttons = MessageButtons::Ok;
};

/// Shows a message without an owner window and waits for the answer: true for OK or Yes. Without a user to ask, a
/// question is answered with Yes.
bool ShowMessage(const Message& message);

/// The platform's own way, which ShowMessage takes unless a handler was set.
bool ShowSystemMessage(const Message& message);

/// What ShowMessage calls from here on; null restores the platform's own way. For tests, which have no user. Set before
/// other threads run: messages are shown only by the thread that owns the windows or, without windows, by the thread that
/// runs main.
using MessageHandler = bool (*)(const Message& message);
void SetMessageHandler(MessageHandler pfnHandler);
