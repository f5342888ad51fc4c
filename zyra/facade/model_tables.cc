#include "zyra/facade/model_tables.h"

#include "zyra/facade/text_forms.h"

namespace zyra {

ProbeSummary ProbeSummaryOf(const CProbeRspClass& cFile) {
  const CProbeInfoClass& probe = *Required(cFile.ProbeInfo());
  const CSystemResponse& rsp = *Required(cFile.Rsp());
  ProbeSummary summary;
  summary.sLabel = LabelText(probe.PrLabel());
  summary.sRoom = LabelText(probe.PrRoom());
  for (int32_t c = 1; c <= 3; ++c)
    summary.daSite[static_cast<std::size_t>(c - 1)] = probe.PrSite(c);
  summary.iHorAngle = probe.PrHorAngle();
  summary.iVerAngle = probe.PrVerAngle();
  summary.nPulses = rsp.Pulses()->Count();
  summary.nLoudspeakers = rsp.LspInfos()->Count();
  summary.nObstacles = Required(cFile.ObstInfo())->Count();
  return summary;
}

LoudspeakerColumns LoudspeakerColumnsOf(const CProbeRspClass& cFile) {
  const CLspInfoBufferClass& lsps = *Required(Required(cFile.Rsp())->LspInfos());
  LoudspeakerColumns columns;
  for (int32_t i = 1; i <= lsps.Count(); ++i) {
    const CLspInfoClass& lsp = *Required(lsps.LspInfo(i));
    columns.saLabel.push_back(LabelText(lsp.Label()));
    columns.saCharLabel.push_back(LabelText(lsp.CharLabel()));
    columns.laCoherenceGroup.push_back(lsp.CoherenceGroup());
    columns.daSite.push_back({lsp.Site(1), lsp.Site(2), lsp.Site(3)});
    columns.iaHorAngle.push_back(lsp.HorAngle());
    columns.iaVerAngle.push_back(lsp.VerAngle());
    columns.iaRotAngle.push_back(lsp.RotAngle());
    columns.daDelay.push_back(lsp.Delay());
    columns.laPulsNr.push_back(lsp.PulsNr());
    columns.laFlags.push_back(lsp.Flags());
    columns.baIsActive.push_back(lsp.IsActive());
    columns.baIsPseudo.push_back(lsp.IsPseudo());
  }
  return columns;
}

PulseColumns PulseColumnsOf(const CProbeRspClass& cFile) {
  const CSystemResponse& rsp = *Required(cFile.Rsp());
  const int32_t n = rsp.Pulses()->Count();
  const auto size = static_cast<std::size_t>(n);
  PulseColumns columns;
  columns.daArrival.reserve(size);
  columns.daTravel.reserve(size);
  columns.laOrigin.reserve(size);
  columns.laROrder.reserve(size);
  columns.iaHorAngle.reserve(size);
  columns.iaVerAngle.reserve(size);
  columns.laID.reserve(size);
  columns.laIDPseudo.reserve(size);
  columns.laFlags.reserve(size);
  columns.iaSPL.reserve(size * PulseColumns::kBandSlots);
  for (int32_t i = 1; i <= n; ++i) {
    const CPulsClass& puls = *Required(rsp.Puls(i));
    columns.daArrival.push_back(rsp.GetPulsArrival(i));
    columns.daTravel.push_back(puls.Travel());
    columns.laOrigin.push_back(puls.Origin());
    columns.laROrder.push_back(puls.ROrder());
    columns.iaHorAngle.push_back(puls.HorAngle());
    columns.iaVerAngle.push_back(puls.VerAngle());
    columns.laID.push_back(puls.ID());
    columns.laIDPseudo.push_back(puls.ID_Pseudo());
    columns.laFlags.push_back(puls.Flags());
    for (int32_t b = 0; b < PulseColumns::kBandSlots; ++b) columns.iaSPL.push_back(puls.SPL(b));
  }
  return columns;
}

}  // namespace zyra
