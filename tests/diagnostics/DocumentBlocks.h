#pragma once

#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>

namespace Tessaril::TestSupport {

inline std::string contentsOf(const char* path) {
  const std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

/// The fenced block of the document about the diagnostics that begins with `line`.
inline std::string blockOfDocument(const std::string& line, const std::string& language = {}) {
  const std::string document = contentsOf(TESSARIL_DIAGNOSTICS_DOCUMENT);
  const std::string fence = "```" + language + "\n";
  const std::size_t fenceBegin = document.find(fence + line);
  if (fenceBegin == std::string::npos) {
    return "no block begins with: " + line;
  }
  const std::size_t begin = fenceBegin + fence.size();
  return document.substr(begin, document.find("\n```", begin) - begin + 1);
}

}  // namespace Tessaril::TestSupport
