// Which SPI devices of the process are open, by the ports that observers know them as.
#pragma once

namespace spidev_ports {

// Path `path` was opened as `fd`; of what is no SPI device nothing is kept. `simulated`: it is one, whatever it looks
// like.
void note(const char *path, int fd, bool simulated);
// The port of a descriptor, -1 when it is none. Waits for nothing.
int of(int fd);

} // namespace spidev_ports
