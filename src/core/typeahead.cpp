#include "core/input.hpp"
#include "proto/msg_types.hpp"

bool key_stack::push(int key)
{
    if (top >= k_typeahead_max)
        return false;
    keys[top++] = key;
    return true;
}

bool key_stack::pop(int &key)
{
    if (top == 0)
        return false;
    key = keys[--top];
    return true;
}

bool is_reply(const server_msg &waiting, std::int64_t socket, std::int64_t type, std::int64_t sequence)
{
    return socket == waiting.socket && (sequence == waiting.sequence || type == CLIENT_OPEN);
}
