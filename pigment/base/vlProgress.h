// vlUtil::Progress: the sink long computations report their completed fraction to.
// The base keeps the last fraction; hosts derive to show it.
#pragma once

namespace vlUtil {

class Progress {
  public:
    Progress() : fraction(0.0) {}
    virtual ~Progress() {}

    // Records a fraction from 0 to 1; values outside are clamped and NaN counts as 0.
    virtual void set(double value) { fraction = value > 1.0 ? 1.0 : (value > 0.0 ? value : 0.0); }
    double get() const { return fraction; }

  private:
    double fraction;
};

}  // namespace vlUtil
