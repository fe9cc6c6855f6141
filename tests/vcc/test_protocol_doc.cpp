#include "vcc/vcc_rows.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

TEST(ProtocolDocument, ListsEveryRowWithItsBytes)
{
    std::ifstream file(PROTOCOL_MD);
    std::stringstream text;
    text << file.rdbuf();
    ASSERT_TRUE(file) << PROTOCOL_MD;
    for (const VccRowInfo &row : vcc_rows()) {
        const std::string line = std::string("\n| ") + row.name + " | `" + vcc_row_pattern(row) + "` | ";
        EXPECT_NE(text.str().find(line), std::string::npos) << "docs/protocol.md lacks the row:" << line;
    }
}

} // namespace
