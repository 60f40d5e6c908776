// Unsolicited server messages.
#pragma once

struct server_msg;

// Handles one unsolicited server message.
void async_msg(server_msg *msg);
