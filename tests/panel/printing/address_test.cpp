// What is wrong with an address, while it is typed.

#include "examples/panel/printing/address.h"

#include <gmock/gmock.h>

#include "vel/client/client.h"

namespace panel {
namespace {

TEST(AddressTest, SaysWhatIsWrong) {
  struct Row {
    const char* address;
    const char* mistake;
  };
  const char* const four = "An address has four numbers with dots between them, such as 10.0.0.7.";
  for (const Row& row : {Row{"10.0.0.7", ""},
                         {"10.0.0.7:631", ""},
                         {"255.255.255.255:65535", ""},
                         {"", "Type an address such as 10.0.0.7, or 10.0.0.7:631 with a port."},
                         {"10", four},
                         {"10.0.0.", four},
                         {"10.0.0.7.9", four},
                         {"10..0.7", four},
                         {"10.0.0.256", "256 is more than 255."},
                         {"10.0.0.99999999999", "99999999999 is more than 255."},
                         {"10.0.0.07", "07 begins with 0."},
                         {"10.0.0.7:65536", "65536 is more than 65535."},
                         {"10.0.0. 7", "An address has no blanks."},
                         {"printer",
                          "\u201cp\u201d does not belong into an address: numbers such "
                          "as 10.0.0.7 do, names do not."},
                         {"10.0.0.7:",
                          "This is no address such as 10.0.0.7, or 10.0.0.7:631 with "
                          "a port."},
                         {"10.0.0.7:1:2",
                          "This is no address such as 10.0.0.7, or 10.0.0.7:631 "
                          "with a port."}}) {
    EXPECT_EQ(addressMistake(row.address).toStdString(), row.mistake) << row.address;
    EXPECT_EQ(vel::Client::isAddress(row.address), row.mistake[0] == '\0') << row.address;
  }
}

}  // namespace
}  // namespace panel
