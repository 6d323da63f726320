// A forked child shares with its parent what its descriptors stand for: an epoll set that it changes is changed for the
// parent, too, and a link that it keeps open does not end when the parent closes it. So its copies of ours are closed
// as it begins, and it starts with nothing.
#pragma once

namespace kestrine::platform {

// From any thread. The second comes before the descriptor is closed.
void keep_from_children(int fd);
void no_longer_keep_from_children(int fd);

}  // namespace kestrine::platform
