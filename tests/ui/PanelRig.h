#pragma once

#include "Foundation/PreferenceKeys.h"
#include "input/scripted/ScriptedDesktop.h"
#include "input/scripted/ScriptedElement.h"
#include "ui/ListPanelView.h"

namespace dresk {

/// A window in memory: keeps what it was told. Its rows are 20 points tall, it is 400 wide.
template <class View>
class ScriptedPanelView : public View {
  public:
    struct State {
        bool isVisible = false;
        Rect frame;
        std::optional<std::size_t> selectedRow;
        double rowHeight = 20;
        double cellFontSize = 0;
        double orderColumnWidth = 0;
        std::optional<std::size_t> rowUnderPointer;
    };
    ScriptedPanelView(State& state, double unitsPerPoint)
        : state_(state), unitsPerPoint_(unitsPerPoint) {}

    double unitsPerPoint(Point /*place*/) const override { return unitsPerPoint_; }
    double width() const override { return 400; }
    double rowHeight() const override { return state_.rowHeight; }
    void setRowHeight(double points) override { state_.rowHeight = points; }
    void setCellFontSize(double points) override { state_.cellFontSize = points; }
    void setOrderColumnWidth(double points) override { state_.orderColumnWidth = points; }
    void reloadData() override {}
    void selectRow(std::optional<std::size_t> row) override { state_.selectedRow = row; }
    std::optional<std::size_t> rowAtPoint(Point /*place*/) const override {
        return state_.rowUnderPointer;
    }
    void setFrame(Rect frame) override { state_.frame = frame; }
    void orderFront() override { state_.isVisible = true; }
    void close() override { state_.isVisible = false; }

  private:
    State& state_;
    double unitsPerPoint_;
};

/// The desktop that a floating list stands on: one screen of 1920 by 1080 with a panel of 30 at its
/// top, and the editor in front.
struct PanelRig {
    PanelRig() {
        preferences.registerDefaults(registeredDefaults({}));
        desktop.processes().setFocusedElement(desktop.editor(), field);
    }

    /// The caret, in the desktop's measure: from the top left.
    void setCaret(Rect caret) {
        field->set(AXAttribute::SelectedTextRange, Range{5, 0});
        field->set(AXAttribute::BoundsForRange, caret);
    }

    std::shared_ptr<Snippet> addSnippet(StringView abbreviation, StringView content) {
        auto snippet = Snippet::initWithAbbreviation(String(abbreviation), String(content), time);
        group->addItem(snippet);
        return snippet;
    }

    VirtualTime time;
    ScriptedDesktop desktop{time};
    VirtualRunLoop mainLoop{time};
    PreferenceStore preferences;
    std::shared_ptr<ScriptedElement> field = std::make_shared<ScriptedElement>();
    std::shared_ptr<SnippetGroup> group = std::make_shared<SnippetGroup>(time);
    SnippetGroupList groups{{group}, {}};
};

} // namespace dresk
