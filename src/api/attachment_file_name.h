// The name an attachment is saved and looked up under.  The name comes from
// the message, so it is untrusted: only its last path component is kept, and
// nothing in it may climb folders, hide the file or reach a device.
#pragma once

#include <string>
#include <string_view>

// The base name of `name` (after its last "/" or "\"), with control bytes
// and the characters file systems reserve (: * ? " < > |) made "_", and
// leading dots and blanks and trailing dots and blanks dropped.  Never empty,
// never "." or "..", at most 200 bytes with the extension kept.
std::string SafeAttachmentFileName(std::string_view name);

// The extension of a safe name, in lower case and without its dot; "" when
// it has none.
std::string AttachmentExtension(std::string_view safe_name);
