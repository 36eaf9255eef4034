// SPDX-License-Identifier: MIT
#pragma once

namespace bench {

/// A mail box as a list of rows, in the words of draft 03.
inline constexpr const char* kRowsSchema = R"({"type":"array","items":{"type":"object",
"additionalProperties":false,"properties":{
"mailbox_id":{"type":"integer","required":true,"minimum":0,"maximum":99},
"name_mailbox":{"type":"string","maxLength":40},
"sender_user_id":{"type":"integer","minimum":0},
"name_sender":{"type":"string","maxLength":40},
"timestamp":{"type":"number","required":true,"minimum":0},
"length_ds":{"type":"integer","minimum":0,"maximum":36000},
"appl_camera_id":{"type":"string","required":true,"enum":["front","yard","hall"]},
"appl_sequence_no":{"type":"integer","required":true,"minimum":0},
"appl_event_index":{"type":"integer","minimum":0,"maximum":9},
"rid":{"type":"integer","required":true,"minimum":9000},
"alarmimage":{"type":"string","minLength":5},
"events":{"type":"array","maxItems":4,"items":{"type":"string","enum":["bell","door","motion"]}},
"message_seen":{"type":"boolean"},
"endfilter":{"type":["string","null"],"maxLength":200}}}})";

} // namespace bench
