#include "orvhost/journal/page_frame.h"

#include "orvhost/interface/printable.h"
#include "orvhost/journal/page_style.h"

namespace orvhost {

std::string Html(std::string_view text) {
  std::string html;
  for (const char letter : Printable(text)) {
    switch (letter) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\'':
        html += "&#39;";
        break;
      default:
        html += letter;
    }
  }
  return html;
}

std::string PageHead(const std::string& title) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
         "img-src data:\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<link rel=\"icon\" href=\"data:,\">\n<title>" +
         Html(title) + "</title>\n<style>" + kPageStyle + "</style>\n</head>\n<body>\n<h1>" + Html(title) + "</h1>\n";
}

std::string PageVerdict(bool isGood, const std::string& text) {
  return std::string("<p class=\"verdict ") + (isGood ? "good\">&#10003; " : "bad\">&#10007; ") + Html(text) + "</p>\n";
}

std::string PageItem(const std::string& name, const std::string& value) {
  return value.empty() ? "" : "<dt>" + Html(name) + "</dt><dd>" + Html(value) + "</dd>\n";
}

std::string PageFoot(const std::string& rest) {
  return "<footer>Made by orvhost " ORVHOST_VERSION " " + Html(rest) + "</footer>\n</body>\n</html>\n";
}

}  // namespace orvhost
