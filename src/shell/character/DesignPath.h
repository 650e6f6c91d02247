#pragma once
// Builds a QPainterPath from the character's shape tables, which name a curve's end point first:
// quad(end, control) and cubic(end, control 1, control 2). QPainterPath::quadTo and cubicTo take
// the end point last; this is the one place that swaps them.

#include <QPainterPath>
#include <QPointF>

namespace lumenary {

class DesignPath {
public:
    DesignPath& move(QPointF to) {
        path_.moveTo(to);
        return *this;
    }
    DesignPath& line(QPointF to) {
        path_.lineTo(to);
        return *this;
    }
    DesignPath& quad(QPointF end, QPointF control) {
        path_.quadTo(control, end);
        return *this;
    }
    DesignPath& cubic(QPointF end, QPointF control1, QPointF control2) {
        path_.cubicTo(control1, control2, end);
        return *this;
    }
    DesignPath& close() {
        path_.closeSubpath();
        return *this;
    }
    operator QPainterPath() const { return path_; }  // NOLINT: reads like the tables

private:
    QPainterPath path_;
};

}  // namespace lumenary
