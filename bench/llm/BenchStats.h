#pragma once

#include <QList>
#include <QString>

#include <algorithm>
#include <cmath>

// Order statistics of a set of measurements.
struct BenchStats {
    explicit BenchStats(QList<double> values)
        : m_values(std::move(values)) {
        std::sort(m_values.begin(), m_values.end());
    }

    qsizetype count() const { return m_values.size(); }
    // The value below which `fraction` of the measurements lie (nearest rank).
    double percentile(double fraction) const {
        if (m_values.isEmpty())
            return 0;
        const qsizetype rank = qsizetype(std::ceil(fraction * double(m_values.size())));
        return m_values[std::clamp<qsizetype>(rank - 1, 0, m_values.size() - 1)];
    }
    double median() const { return percentile(0.5); }
    double min() const { return m_values.isEmpty() ? 0 : m_values.first(); }
    double max() const { return m_values.isEmpty() ? 0 : m_values.last(); }
    double mean() const {
        double sum = 0;
        for (const double v : m_values)
            sum += v;
        return m_values.isEmpty() ? 0 : sum / double(m_values.size());
    }

private:
    QList<double> m_values;
};
