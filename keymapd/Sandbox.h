#pragma once

#include <system_error>

namespace keyvane::keymapd {

// A seccomp filter that keeps the service from ever seeing, grabbing or injecting a key, whatever a
// flaw would make it try, with the descriptors it opens: event nodes write-only, which refuse
// read(). A write-only node still allows EVIOCGKEY (the keys held down), EVIOCGRAB and writing
// events; so ioctl is allowed only for the keymap and identity requests, write() and writev() only
// on standard output and error, and nothing that moves bytes into a descriptor without them
// (splice, sendfile, io_uring). Files are written with pwrite(), which an event node refuses. A
// filter cannot tell an event node from a file by its path, so opening one for reading is refused
// by systemd's DeviceAllow=char-input w, not here. Everything else is allowed: systemd's own filter
// narrows the rest.
std::error_code confine();

}  // namespace keyvane::keymapd
