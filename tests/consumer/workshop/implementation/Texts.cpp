#include <limits>
#include <list>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "HostControls.h"
#include "tessaril/platform/exceptions/TsException.h"
#include "tessaril/platform/logging/Logging.h"
#include "tessaril/platform/translation/Translator.h"

namespace {

using Listener = std::shared_ptr<const std::function<void(const Workshop::Record&)>>;

/// Never destroyed: texts are logged and translated to the very end of the process.
struct Texts {
  std::mutex mutex;
  std::list<Listener> listeners;
  std::map<std::pair<std::string, std::string>, std::string> translations;
};

Texts& texts() {
  static Texts& kept = *new Texts;
  return kept;
}

void log(const Workshop::Record& record) {
  std::vector<Listener> listening;
  {
    const std::lock_guard lock(texts().mutex);
    listening.assign(texts().listeners.begin(), texts().listeners.end());
  }
  for (const Listener& listener : listening) {
    try {
      (*listener)(record);
    } catch (...) {
      // Who logs cannot help a listener that fails.
    }
  }
}

std::shared_ptr<void> atEnd(std::function<void()> action) {
  return {nullptr, [action = std::move(action)](void*) { action(); }};
}

}  // namespace

namespace Workshop {

std::shared_ptr<void> listenToLog(std::function<void(const Record&)> listener) {
  const std::lock_guard lock(texts().mutex);
  const auto place = texts().listeners.insert(
      texts().listeners.end(),
      std::make_shared<const std::function<void(const Record&)>>(std::move(listener)));
  return atEnd([place] {
    const std::lock_guard removing(texts().mutex);
    texts().listeners.erase(place);
  });
}

std::shared_ptr<void> addTranslation(const std::string& context, const std::string& text,
                                     const std::string& translation) {
  const std::lock_guard lock(texts().mutex);
  const std::pair key(context, text);
  texts().translations[key] = translation;
  return atEnd([key] {
    const std::lock_guard removing(texts().mutex);
    texts().translations.erase(key);
  });
}

}  // namespace Workshop

namespace Tessaril {

const char* TsException::what() const noexcept { return text->c_str(); }

void Logging::logTRACE(const std::string& text, const std::string& file,
                       const std::string& function, int line) {
  log({false, text, file, function, line});
}

void Logging::logERROR(const std::string& text, const std::string& file,
                       const std::string& function, int line) {
  log({true, text, file, function, line});
}

std::string Translator::translate(const std::string& context, const std::string& text,
                                  const std::string& /*comment*/, int /*count*/) {
  const std::lock_guard lock(texts().mutex);
  const auto found = texts().translations.find({context, text});
  return found != texts().translations.end() ? found->second : text;
}

ArgString::ArgString(const std::string& text) {
  constexpr std::size_t kMostDigits = 9;
  std::string plain;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t behind = at + 1;
    while (text[at] == '%' && behind < text.size() && text[behind] >= '0' && text[behind] <= '9') {
      ++behind;
    }
    const std::string digits = text.substr(at + 1, behind - at - 1);
    if (digits.empty() || digits.front() == '0' || digits.size() > kMostDigits) {
      plain += text.substr(at, behind - at);
    } else {
      pieces.push_back({std::exchange(plain, {}), 0});
      pieces.push_back({'%' + digits, std::stoi(digits)});
    }
    at = behind;
  }
  pieces.push_back({plain, 0});
}

ArgString& ArgString::arg(const std::string& value) {
  int lowest = std::numeric_limits<int>::max();
  for (const Piece& piece : pieces) {
    lowest = piece.marker > 0 && piece.marker < lowest ? piece.marker : lowest;
  }
  for (Piece& piece : pieces) {
    if (piece.marker == lowest) {
      piece = {value, 0};
    }
  }
  return *this;
}

std::string ArgString::toString() const {
  std::string whole;
  for (const Piece& piece : pieces) {
    whole += piece.text;
  }
  return whole;
}

}  // namespace Tessaril
