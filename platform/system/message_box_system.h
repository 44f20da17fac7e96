// The platform's own way to show a message. Only message_box.cpp includes this.
#pragma once

struct Message;

bool ShowSystemMessage(const Message& message);
