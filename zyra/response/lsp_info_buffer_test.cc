#include "zyra/response/lsp_info_buffer.h"

#include <gtest/gtest.h>

namespace zyra {
namespace {

TEST(LspInfoBufferTest, WhetherPhaseDataOrPseudoLoudspeakersExist) {
  const bool cases[][4] = {
      // phase flag valid, with phase, in a group; whether there is phase data
      {true, true, false, true},    {true, false, true, false},   // a trusted "no phase" wins
      {false, false, true, true},   {false, true, false, false},  // untrusted: the group decides
      {false, false, false, false},
  };
  for (const auto& c : cases) {
    CLspInfoBufferClass buffer;
    buffer.SetCount(2);
    const auto info = buffer.LspInfo(2);
    info->SetIsPhaseFlgValid(c[0]);
    info->SetIsWithPhase(c[1]);
    info->SetCoherenceGroup(c[2] ? 3 : 0);
    EXPECT_EQ(buffer.GetHasPhaseData(), c[3]) << c[0] << c[1] << c[2];
    EXPECT_FALSE(buffer.GetHasPseudoLspk());
    info->SetIsPseudo(true);
    EXPECT_TRUE(buffer.GetHasPseudoLspk());
  }
}

}  // namespace
}  // namespace zyra
