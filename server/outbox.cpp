#include "server/outbox.hpp"

#include "proto/wire.hpp"

frame_ptr make_frame(std::int64_t type, std::int64_t sequence, std::int64_t album, std::int64_t track,
                     std::string_view text)
{
    if (text.size() > k_text_max)
        return nullptr;
    const wire_header h = {.type = type,
                           .sequence = sequence,
                           .album = album,
                           .track = track,
                           .length = static_cast<std::uint32_t>(text.size())};
    auto frame = std::make_shared<std::string>(k_header_len + text.size(), '\0');
    if (encode_message(frame->data(), frame->size(), h, text.data()) == 0)
        return nullptr;
    return frame;
}

frame_ptr frame_with_sequence(std::string_view frame, std::int64_t sequence)
{
    // The sequence is the header's second field: four hex digits after the type and a blank.
    constexpr std::size_t k_sequence_at = 3;
    constexpr char k_digits[] = "0123456789abcdef";
    if (frame.size() < k_header_len || sequence < 0 || sequence > 0xFFFF)
        return nullptr;
    auto copy = std::make_shared<std::string>(frame);
    for (std::size_t i = 0; i < 4; ++i)
        (*copy)[k_sequence_at + i] = k_digits[(sequence >> (12 - 4 * i)) & 0xF];
    return copy;
}

void post(outbox &out, target to, frame_ptr frame, std::string plist)
{
    if (frame != nullptr)
        out.items.push_back({.to = to, .frame = std::move(frame), .plist = std::move(plist), .session = 0});
}

void post_to_session(outbox &out, int session, frame_ptr frame)
{
    if (frame != nullptr)
        out.items.push_back({.to = target::session, .frame = std::move(frame), .plist = {}, .session = session});
}

bool read_frame(const std::string &frame, frame_fields &out)
{
    wire_header h;
    if (frame.size() < k_header_len || !decode_header(frame.data(), h) || frame.size() != k_header_len + h.length)
        return false;
    out = {h.type, h.sequence, h.album, h.track, frame.substr(k_header_len)};
    return true;
}
