// The console's frames: how a message (and an optional binary payload)
// travels over the connection, and how incoming bytes become messages.
//
// Header words are 32-bit unsigned, big-endian. The message text is the
// message as one-line JSON, without a terminating NUL.
//
//   without payload: 0, frame length - 8, text, 0-3 zero bytes
//                    (the frame is a multiple of 4 bytes long)
//   with payload:    1, frame length - 8, payload position - 8, text,
//                    0-3 zero bytes (the payload starts at a multiple
//                    of 4), payload
//
// Incoming bytes are cut into frames as they complete, whatever the read
// boundaries. A frame's text is parsed with the parser's untrusted entry; a
// payload is attached to the message as the data member "binary-data".
#pragma once

#include "foundation/collection/vector.h"
#include "foundation/config/dynamic_config_value.h"

namespace foundation {
namespace console_frame {

// Frames whose length field says more are refused as broken.
const uint32_t MAX_FRAME_LENGTH = 64u * 1024u * 1024u;

// Appends the frame of `text` (`length` bytes) and an optional payload.
void build(const char* text, uint32_t length, const void* payload, uint32_t payload_length, Vector<char>& out);

// Cuts every complete frame from the front of `input` (and removes them),
// appending each message to `messages` (made on that vector's allocator).
// Returns false when the input is broken: a header flag other than 0 and 1,
// a length over MAX_FRAME_LENGTH, a payload position outside the frame, or a
// text that is not a JSON value; `problem` then says which. A broken input
// cannot be resynchronised: its sender must be dropped.
bool cut_messages(Vector<uint8_t>& input, Vector<DynamicConfigValue>& messages, const char** problem);

} // namespace console_frame
} // namespace foundation
