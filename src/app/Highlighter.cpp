#include "app/Highlighter.h"

namespace pivex {

void Highlighter::highlightBlock(const QString&) {
}

} // namespace pivex
