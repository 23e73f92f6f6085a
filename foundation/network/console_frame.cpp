#include "foundation/network/console_frame.h"

#include "foundation/config/parse_simplified_json.h"

#include <string.h>

namespace foundation {
namespace console_frame {

namespace {

void put_word(char* at, uint32_t value) {
  at[0] = char(value >> 24);
  at[1] = char(value >> 16);
  at[2] = char(value >> 8);
  at[3] = char(value);
}

uint32_t get_word(const uint8_t* at) {
  return (uint32_t(at[0]) << 24) | (uint32_t(at[1]) << 16) | (uint32_t(at[2]) << 8) | uint32_t(at[3]);
}

uint32_t padding_to_4(uint32_t n) { return (4 - (n & 3)) & 3; }

} // namespace

void build(const char* text, uint32_t length, const void* payload, uint32_t payload_length, Vector<char>& out) {
  if (!payload) {
    uint32_t pad = padding_to_4(length);
    uint32_t frame = 8 + length + pad;
    char* p = out.extend(frame);
    put_word(p, 0);
    put_word(p + 4, frame - 8);
    memcpy(p + 8, text, length);
    memset(p + 8 + length, 0, pad);
  } else {
    uint32_t pad = padding_to_4(12 + length);
    uint32_t payload_at = 12 + length + pad;
    uint32_t frame = payload_at + payload_length;
    char* p = out.extend(frame);
    put_word(p, 1);
    put_word(p + 4, frame - 8);
    put_word(p + 8, payload_at - 8);
    memcpy(p + 12, text, length);
    memset(p + 12 + length, 0, pad);
    memcpy(p + payload_at, payload, payload_length);
  }
}

bool cut_messages(Vector<uint8_t>& input, Vector<DynamicConfigValue>& messages, const char** problem) {
  uint32_t at = 0;
  bool ok = true;
  while (input.size() - at >= 8) {
    const uint8_t* frame = input.data() + at;
    uint32_t flag = get_word(frame);
    uint32_t length = get_word(frame + 4);
    if (flag > 1) {
      *problem = "not a frame header";
      ok = false;
      break;
    }
    if (length > MAX_FRAME_LENGTH) {
      *problem = "frame length out of range";
      ok = false;
      break;
    }
    if (input.size() - at - 8 < length)
      break; // the rest has not arrived yet
    const char* text = reinterpret_cast<const char*>(frame + 8);
    uint32_t text_length = length;
    const uint8_t* payload = nullptr;
    uint32_t payload_length = 0;
    if (flag == 1) {
      uint32_t payload_at = length >= 4 ? get_word(frame + 8) + 8 : 0;
      if (length < 4 || payload_at < 12 || payload_at > 8 + length) {
        *problem = "payload position out of range";
        ok = false;
        break;
      }
      text = reinterpret_cast<const char*>(frame + 12);
      text_length = payload_at - 12;
      payload = frame + payload_at;
      payload_length = 8 + length - payload_at;
    }
    // Up to three zero bytes of padding end the text; JSON holds no other NUL.
    for (int i = 0; i < 3 && text_length > 0 && text[text_length - 1] == 0; ++i)
      --text_length;
    if (memchr(text, 0, text_length)) {
      *problem = "message text holds a NUL byte";
      ok = false;
      break;
    }
    DynamicConfigValue& message = messages.push_back_default();
    simplified_json::ParseError error;
    if (text_length == 0 || !simplified_json::try_parse_untrusted(text, text_length, message, &error)) {
      messages.pop_back();
      *problem = "message is not valid JSON";
      ok = false;
      break;
    }
    if (payload && message.is_object())
      message.get("binary-data").set_data(payload, payload_length);
    at += 8 + length;
  }
  // Keep only what is not cut yet.
  uint32_t left = input.size() - at;
  if (at > 0 && left > 0)
    memmove(input.data(), input.data() + at, left);
  input.set_size(left);
  return ok;
}

} // namespace console_frame
} // namespace foundation
