#include "examples/gear_pair/calculation/SvgWriter.h"

#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string attribute(const std::string& name, double value) {
  return " " + name + "=\"" + svgNumber(value) + "\"";
}

std::string classAttribute(const std::string& styleClass) {
  return " class=\"" + styleClass + "\"";
}

}  // namespace

std::string svgNumber(double value) { return fixedText(value, 2); }

std::string svgPoint(Point point) { return svgNumber(point.x) + " " + svgNumber(point.y); }

SvgWriter::SvgWriter(double width, double height, const std::string& styleSheet) {
  const std::string size = svgNumber(width) + " " + svgNumber(height);
  document_ =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\"" +
      attribute("width", width) + attribute("height", height) + " viewBox=\"0 0 " + size +
      "\">\n<style>\n" + styleSheet + "</style>\n";
}

void SvgWriter::polygon(const Polyline& closed, const std::string& styleClass) {
  std::string data;
  for (const Point point : closed) {
    data += (data.empty() ? "M" : "L") + svgPoint(point);
  }
  path(data + "Z", styleClass);
}

void SvgWriter::line(Point from, Point to, const std::string& styleClass) {
  document_ += "<line" + attribute("x1", from.x) + attribute("y1", from.y) + attribute("x2", to.x) +
               attribute("y2", to.y) + classAttribute(styleClass) + "/>\n";
}

void SvgWriter::circle(Point centre, double radius, const std::string& styleClass) {
  document_ += "<circle" + attribute("cx", centre.x) + attribute("cy", centre.y) +
               attribute("r", radius) + classAttribute(styleClass) + "/>\n";
}

void SvgWriter::rectangle(Point corner, double width, double height,
                          const std::string& styleClass) {
  document_ += "<rect" + attribute("x", corner.x) + attribute("y", corner.y) +
               attribute("width", width) + attribute("height", height) +
               classAttribute(styleClass) + "/>\n";
}

void SvgWriter::path(const std::string& data, const std::string& styleClass) {
  document_ += "<path d=\"" + data + "\"" + classAttribute(styleClass) + "/>\n";
}

void SvgWriter::text(Point at, const std::string& content, const std::string& styleClass) {
  document_ += "<text" + attribute("x", at.x) + attribute("y", at.y) + classAttribute(styleClass) +
               ">" + escaped(content) + "</text>\n";
}

void SvgWriter::beginCircleClip(const std::string& id, Point centre, double radius) {
  document_ += "<clipPath id=\"" + id + "\"><circle" + attribute("cx", centre.x) +
               attribute("cy", centre.y) + attribute("r", radius) + "/></clipPath>\n" +
               "<g clip-path=\"url(#" + id + ")\">\n";
}

void SvgWriter::endClip() { document_ += "</g>\n"; }

std::string SvgWriter::finish() {
  document_ += "</svg>\n";
  return document_;
}

}  // namespace GearPair
