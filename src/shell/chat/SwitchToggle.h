#pragma once
// A small on/off switch with its label on the left, the way desktop settings draw a Boolean that
// takes effect at once (Qt Widgets has check boxes only).

#include <QAbstractButton>

namespace lumenary {

class SwitchToggle : public QAbstractButton {
public:
    explicit SwitchToggle(const QString& label, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& pos) const override { return rect().contains(pos); }

private:
    QSize trackSize() const;
};

}  // namespace lumenary
