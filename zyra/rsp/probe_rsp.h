// The response file: one object of every block class, read and written as a whole file.
#ifndef ZYRA_RSP_PROBE_RSP_H_
#define ZYRA_RSP_PROBE_RSP_H_

#include <memory>

#include "zyra/info/etc_info.h"
#include "zyra/info/obst_info_buffer.h"
#include "zyra/info/prediction_info.h"
#include "zyra/info/probe_info.h"
#include "zyra/response/system_response.h"
#include "zyra/rsp/local_rt_info.h"
#include "zyra/rsp/rsp_info_text.h"

namespace zyra {

// Owns one object of each block class for as long as it lives and hands them out as shared
// references; each is created on first use while still empty.
class CProbeRspClass {
 public:
  const std::shared_ptr<CSystemResponse>& Rsp() const { return Lazy(rsp_); }
  void SetRsp(std::shared_ptr<CSystemResponse> cRsp) { rsp_ = std::move(cRsp); }
  const std::shared_ptr<CProbeInfoClass>& ProbeInfo() const { return Lazy(probeInfo_); }
  void SetProbeInfo(std::shared_ptr<CProbeInfoClass> cInfo) { probeInfo_ = std::move(cInfo); }
  const std::shared_ptr<CObstInfoBufferClass>& ObstInfo() const { return Lazy(obstInfo_); }
  void SetObstInfo(std::shared_ptr<CObstInfoBufferClass> cInfo) { obstInfo_ = std::move(cInfo); }
  const std::shared_ptr<CETCInfoClass>& ETC() const { return Lazy(etc_); }
  void SetETC(std::shared_ptr<CETCInfoClass> cInfo) { etc_ = std::move(cInfo); }
  const std::shared_ptr<CPredictionInfoClass>& Pred() const { return Lazy(pred_); }
  void SetPred(std::shared_ptr<CPredictionInfoClass> cInfo) { pred_ = std::move(cInfo); }
  const std::shared_ptr<CLocalRTInfoClass>& LocalRTInfo() const { return Lazy(localRTInfo_); }
  void SetLocalRTInfo(std::shared_ptr<CLocalRTInfoClass> cInfo) { localRTInfo_ = std::move(cInfo); }
  const std::shared_ptr<CRspInfoTextClass>& InfoText() const { return Lazy(infoText_); }
  void SetInfoText(std::shared_ptr<CRspInfoTextClass> cInfo) { infoText_ = std::move(cInfo); }

 private:
  template <class T>
  static const std::shared_ptr<T>& Lazy(std::shared_ptr<T>& reference) {
    if (!reference) reference = std::make_shared<T>();
    return reference;
  }

  mutable std::shared_ptr<CSystemResponse> rsp_;
  mutable std::shared_ptr<CProbeInfoClass> probeInfo_;
  mutable std::shared_ptr<CObstInfoBufferClass> obstInfo_;
  mutable std::shared_ptr<CETCInfoClass> etc_;
  mutable std::shared_ptr<CPredictionInfoClass> pred_;
  mutable std::shared_ptr<CLocalRTInfoClass> localRTInfo_;
  mutable std::shared_ptr<CRspInfoTextClass> infoText_;
};

}  // namespace zyra

#endif  // ZYRA_RSP_PROBE_RSP_H_
