#pragma once

#include <memory>
#include <string>

#include "render/decode/Decoder.h"

namespace norix {

/// A few lines of figures over the picture: objects among the decoder's own, made anew with each change.
/// Window thread.
class StatisticsOverlay {
  public:
    /// Shows these lines in place of those of before; takes them away where there is no text or no decoder.
    void Show(const std::shared_ptr<CDecoder>& decoder, const std::wstring& lines);

  private:
    std::weak_ptr<CDecoder> m_decoder;  // whose the objects are
    long m_text = 0;
    long m_font = 0;
    long m_brush = 0;
};

}  // namespace norix
