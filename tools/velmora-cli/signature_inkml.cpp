#include "signature_inkml.h"

namespace cli {

std::string SignatureInkMl(const std::vector<signature::Stroke>& strokes, long record) {
    std::string ink = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<ink xmlns=\"http://www.w3.org/2003/InkML\">\n"
                      "<annotation type=\"record\">" +
                      std::to_string(record) + "</annotation>\n";
    for (const signature::Stroke& stroke : strokes) {
        ink += "<trace>";
        for (std::size_t k = 0; k < stroke.size(); ++k) {
            if (k > 0) ink += ", ";
            ink += std::to_string(stroke[k].x) + " " + std::to_string(stroke[k].y);
        }
        ink += "</trace>\n";
    }
    ink += "</ink>\n";
    return ink;
}

} // namespace cli
