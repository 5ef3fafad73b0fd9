#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

// libdvbpsi's headers include nothing themselves; the order is theirs.
#include <sys/types.h>

#include <dvbpsi/dvbpsi.h>

#include <dvbpsi/descriptor.h>

namespace durix {

/// One descriptor of a table (ISO/IEC 13818-1, 2.6; EN 300 468, 6.1): its tag and what follows its length.
struct Descriptor {
  std::uint8_t tag = 0;
  std::span<const std::uint8_t> data;
};

/// The descriptors of a loop as far as they are whole.
std::vector<Descriptor> readDescriptors(std::span<const std::uint8_t> loop);

/// An ISO 639 code as sent; empty unless it is three letters or digits.
std::string languageCode(std::span<const std::uint8_t, 3> letters);

/// What libdvbpsi makes of a descriptor, owned. Null when the library finds it malformed.
template <typename Content>
class Decoded {
 public:
  Decoded(const Descriptor& descriptor, Content* (*decode)(dvbpsi_descriptor_t*))
      // The library copies the bytes and changes none of them.
      : _descriptor(dvbpsi_NewDescriptor(descriptor.tag, static_cast<std::uint8_t>(descriptor.data.size()),
                                         const_cast<std::uint8_t*>(descriptor.data.data()))),
        _content(_descriptor ? decode(_descriptor.get()) : nullptr) {}

  explicit operator bool() const { return _content != nullptr; }
  const Content* operator->() const { return _content; }

 private:
  struct Delete {
    void operator()(dvbpsi_descriptor_t* descriptor) const { dvbpsi_DeleteDescriptors(descriptor); }
  };

  std::unique_ptr<dvbpsi_descriptor_t, Delete> _descriptor;
  Content* _content;  // belongs to the descriptor
};

}  // namespace durix
