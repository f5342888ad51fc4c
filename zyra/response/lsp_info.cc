#include "zyra/response/lsp_info.h"

#include "zyra/support/fixed_text.h"
#include "zyra/support/print_fields.h"
#include "zyra/support/record_fields.h"
#include "zyra/support/span_fields.h"

namespace zyra {

namespace {

constexpr size_t kLabelWidthVersion0 = 16;

}  // namespace

int32_t CLspInfoClass::ReadFromByteStream(ByteStream& cByteStream, int32_t iVersion) {
  switch (iVersion) {
    case 0:
      ReadVersion0(cByteStream);
      return 0;
    case 1:
      return ReadVersion1(cByteStream);
    default:
      return 0;
  }
}

void CLspInfoClass::ReadVersion0(ByteStream& cByteStream) {
  ReadRecordBytes(cByteStream, kLengthVersion0, [this](SpanFieldReader& reader) {
    FixedText<kLabelWidthVersion0> label;
    FixedText<kLabelWidthVersion0> charLabel;
    float fDiscarded = 0;  // a value old writers stored here; the position follows it
    reader(label);
    reader(charLabel);
    reader(fDiscarded);
    label_ = label.Get();
    charLabel_ = charLabel.Get();
    BodyLayout(*this, reader, false);
  });
}

int32_t CLspInfoClass::ReadVersion1(ByteStream& cByteStream) {
  FieldReader reader(cByteStream);
  int32_t lRecordLength = 0;
  int32_t lFixedLength = 0;
  reader(lRecordLength);  // not needed: the fields say how long the record is
  reader(lFixedLength);
  if (lFixedLength != kFixedLengthVersion1) return -1;
  reader.Text(label_);
  reader.Text(charLabel_);
  reader(coherenceGroup_);
  BodyLayout(*this, reader, true);
  return 0;
}

void CLspInfoClass::SaveToByteStream(ByteStream& cByteStream) const {
  FieldWriter writer(cByteStream);
  writer(int32_t{0});  // the record length, patched below once it is known
  const int32_t lCounted = cByteStream.GetPosition();
  writer(kFixedLengthVersion1);
  writer.Text(label_);
  writer.Text(charLabel_);
  writer(coherenceGroup_);
  BodyLayout(*this, writer, true);
  const int32_t lLength = cByteStream.GetPosition() - lCounted;
  WriteAt(cByteStream, lCounted - 4, [&] { writer(lLength); });
}

int32_t CLspInfoClass::GetLengthInFile(int32_t iVersion) noexcept {
  return LengthOfVersion(iVersion, kLengthVersion0, kFixedLengthVersion1);
}

CLspInfoClass CLspInfoClass::CopyThroughProperties() const {
  CLspInfoClass copy;
  copy.SetLabel(Label());
  copy.SetCharLabel(CharLabel());
  copy.SetCoherenceGroup(CoherenceGroup());
  for (int32_t i = 1; i <= 3; ++i) copy.SetSite(i, Site(i));
  copy.SetHorAngle(HorAngle());
  copy.SetVerAngle(VerAngle());
  copy.SetRotAngle(RotAngle());
  copy.SetIsActive(IsActive());
  copy.SetIsPseudo(IsPseudo());
  copy.SetIsCoherenceInvalid(IsCoherenceInvalid());
  copy.SetIsMember(IsMember());
  copy.SetIsCoherence(IsCoherence());
  for (int32_t i = 0; i <= 21; ++i) {
    copy.SetSPL1m(i, SPL1m(i));
    copy.SetDirty(i, Dirty(i));
  }
  copy.SetIsWithPhase(IsWithPhase());
  copy.SetIsPhaseFlgValid(IsPhaseFlgValid());
  for (int32_t i = 1; i <= 21; ++i) copy.SetPhase(i, Phase(i));
  copy.SetDelay(Delay());
  copy.SetPulsNr(PulsNr());
  return copy;
}

std::shared_ptr<CLspInfoClass> CLspInfoClass::CopyDeep() const {
  return std::make_shared<CLspInfoClass>(CopyThroughProperties());
}

void CLspInfoClass::PrintToLogger(Logger& cLogger) const {
  // One line per property, in name order as the pulse prints its own.
  PrintField(cLogger, "CharLabel ", CharLabel());
  PrintField(cLogger, "CoherenceGroup ", CoherenceGroup());
  PrintField(cLogger, "Delay ", Delay());
  PrintIndexed(cLogger, "Dirty(", dirty_, ") ");
  PrintField(cLogger, "HorAngle ", HorAngle());
  PrintField(cLogger, "IsActive ", IsActive());
  PrintField(cLogger, "IsCoherence ", IsCoherence());
  PrintField(cLogger, "IsCoherenceInvalid ", IsCoherenceInvalid());
  PrintField(cLogger, "IsMember ", IsMember());
  PrintField(cLogger, "IsPhaseFlgValid ", IsPhaseFlgValid());
  PrintField(cLogger, "IsPseudo ", IsPseudo());
  PrintField(cLogger, "IsWithPhase ", IsWithPhase());
  PrintField(cLogger, "Label ", Label());
  PrintIndexed(cLogger, "Phase(", phase_, ") ");
  PrintField(cLogger, "PulsNr ", PulsNr());
  PrintField(cLogger, "RotAngle ", RotAngle());
  PrintIndexed(cLogger, "Site(", site_, ") ");
  PrintIndexed(cLogger, "SPL1m(", spl1m_, ") ");
  PrintField(cLogger, "VerAngle ", VerAngle());
}

}  // namespace zyra
