#include "language/SnippetFieldVariable.h"

#include "language/SnippetVariableUtils.h"

namespace dresk {

namespace {

constexpr std::int64_t DefaultWidth = 30;
constexpr std::int64_t DefaultHeight = 5;

} // namespace

SnippetFieldVariable::SnippetFieldVariable(const SnippetVariableParams& params)
    : SnippetVariable(params), type_(integerForKey(params, u"type", Singleline)),
      name_(stringForKey(params, u"field")), value_(stringForKey(params, u"value")),
      width_(integerForKey(params, u"width", 0)), hasWidth_(width_ > 0),
      height_(integerForKey(params, u"height", 0)), hasHeight_(height_ > 0),
      defaultIndex_(integerForKey(params, u"defaultIndex", 0)) {
    if (width_ == 0)
        width_ = DefaultWidth;
    if (height_ == 0)
        height_ = DefaultHeight;
}

std::optional<String> SnippetFieldVariable::toString() const {
    SnippetParamsText text;
    if (name_.has_value() && !name_->empty())
        text.add(u"field", SnippetVariableUtils::escapeParam(*name_));
    else
        text.add(u"field");
    if (type_ != Singleline)
        text.add(u"type", type_);
    // The default index goes out under the name of the width and reads back into the width. That is
    // meant.
    if (isPopupMenu())
        text.add(u"width", defaultIndex_);
    if (value_.has_value() && !value_->empty())
        text.add(u"value", SnippetVariableUtils::escapeParam(*value_));
    text.addParams(SnippetVariable::toString());
    if (canSetWidth() && hasWidth_)
        text.add(u"width", width_);
    if (canSetHeight() && hasHeight_)
        text.add(u"height", height_);
    return text.text();
}

} // namespace dresk
