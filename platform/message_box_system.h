// The platform's own way to show a message. Only platform/message_box.cpp includes this.
#pragma once

struct Message;

bool ShowSystemMessage(const Message& message);
