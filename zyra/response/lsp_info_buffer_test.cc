#include "zyra/response/lsp_info_buffer.h"

#include <gtest/gtest.h>

namespace zyra {
namespace {

TEST(LspInfoBufferTest, CorrectPulsePointersMovesOnlyLaterPulses) {
  CLspInfoBufferClass buffer;
  buffer.SetCount(4);
  const int32_t before[] = {4, 5, 6, 9};
  for (int32_t i = 1; i <= 4; ++i) buffer.LspInfo(i)->SetPulsNr(before[i - 1]);
  buffer.CorrectPulsePointers(5);
  const int32_t after[] = {4, 5, 5, 8};
  for (int32_t i = 1; i <= 4; ++i) EXPECT_EQ(buffer.LspInfo(i)->PulsNr(), after[i - 1]);
}

TEST(LspInfoBufferTest, PhaseDataFromTrustedFlagOrFromCoherenceGroupAndPseudoAnywhere) {
  const struct {
    bool bValid, bWithPhase;
    int32_t lGroup;
    bool expected;
  } cases[] = {
      {true, true, 0, true},    {true, false, 3, false},  // a trusted "no phase" wins
      {false, false, 3, true},  {false, true, 0, false},  // untrusted: the group decides
      {false, false, 0, false},
  };
  for (const auto& c : cases) {
    CLspInfoBufferClass buffer;
    buffer.SetCount(2);
    const auto info = buffer.LspInfo(2);
    info->SetIsPhaseFlgValid(c.bValid);
    info->SetIsWithPhase(c.bWithPhase);
    info->SetCoherenceGroup(c.lGroup);
    EXPECT_EQ(buffer.GetHasPhaseData(), c.expected) << c.bValid << c.bWithPhase << c.lGroup;
    EXPECT_FALSE(buffer.GetHasPseudoLspk());
    info->SetIsPseudo(true);
    EXPECT_TRUE(buffer.GetHasPseudoLspk());
  }
}

}  // namespace
}  // namespace zyra
