#include "toolkit/qt/TextLayout.h"

#include <QStringList>
#include <functional>

namespace vlq::toolkit::qt {
namespace {

const QString kEllipsis = QStringLiteral("\u2026");

// Moves `length` back off the middle of a surrogate pair.
qsizetype characterBoundary(const QString& text, qsizetype length) {
  if (length > 0 && length < text.size() && text.at(length).isLowSurrogate()) return length - 1;
  return length;
}

// The largest count in [0, limit] for which `fits` holds; `fits` holds for 0 and is monotonic.
qsizetype largestFitting(qsizetype limit, const std::function<bool(qsizetype)>& fits) {
  qsizetype low = 0;
  qsizetype high = limit;
  while (low < high) {
    const qsizetype middle = (low + high + 1) / 2;
    if (fits(middle)) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  return low;
}

QString trimmedEnd(QString text) {
  qsizetype end = text.size();
  while (end > 0 && text.at(end - 1) == QLatin1Char(' '))
    --end;
  text.truncate(end);
  return text;
}

// How many characters of `rest` the next line takes (at least one, so that breaking advances),
// breaking at spaces unless `anywhere`.
qsizetype lineLength(const QString& rest, const QFontMetricsF& metrics, double width,
                     bool anywhere) {
  if (metrics.horizontalAdvance(rest) <= width) return rest.size();
  if (!anywhere) {
    qsizetype best = 0;
    for (qsizetype i = 1; i < rest.size(); ++i) {
      if (rest.at(i) != QLatin1Char(' ') || rest.at(i - 1) == QLatin1Char(' ')) continue;
      if (metrics.horizontalAdvance(rest.left(i)) > width) break;
      best = i;
    }
    if (best > 0) return best;
  }
  const qsizetype fitting =
      characterBoundary(rest, largestFitting(rest.size(), [&](qsizetype count) {
                          return metrics.horizontalAdvance(rest.left(count)) <= width;
                        }));
  if (fitting > 0) return fitting;
  return rest.size() > 1 && rest.at(0).isHighSurrogate() ? 2 : 1;
}

qsizetype skipSpaces(const QString& text, qsizetype from) {
  while (from < text.size() && text.at(from) == QLatin1Char(' '))
    ++from;
  return from;
}

}  // namespace

QString truncateTail(const QString& text, const QFontMetricsF& metrics, double width) {
  const qsizetype count = largestFitting(text.size(), [&](qsizetype n) {
    return metrics.horizontalAdvance(trimmedEnd(text.left(n)) + kEllipsis) <= width;
  });
  return trimmedEnd(text.left(characterBoundary(text, count))) + kEllipsis;
}

QString truncateHead(const QString& text, const QFontMetricsF& metrics, double width) {
  const qsizetype count = largestFitting(text.size(), [&](qsizetype n) {
    return metrics.horizontalAdvance(kEllipsis + text.right(n)) <= width;
  });
  qsizetype start = text.size() - count;
  if (start > 0 && start < text.size() && text.at(start).isLowSurrogate()) ++start;
  return kEllipsis + text.mid(start);
}

QString truncateMiddle(const QString& text, const QFontMetricsF& metrics, double width) {
  const auto joined = [&](qsizetype n) {
    const qsizetype head = characterBoundary(text, (n + 1) / 2);
    qsizetype tailStart = text.size() - n / 2;
    if (tailStart < text.size() && text.at(tailStart).isLowSurrogate()) ++tailStart;
    return text.left(head) + kEllipsis + text.mid(std::max(tailStart, head));
  };
  const qsizetype count = largestFitting(
      text.size(), [&](qsizetype n) { return metrics.horizontalAdvance(joined(n)) <= width; });
  return joined(count);
}

TextLayout layoutText(const QString& text, const QFontMetricsF& metrics, double width,
                      NSLineBreakMode mode, int maxLines) {
  TextLayout layout;
  QString normalized = text;
  normalized.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  const QStringList paragraphs = normalized.split(QLatin1Char('\n'));
  const bool truncating = mode == NSLineBreakMode::ByTruncatingTail ||
                          mode == NSLineBreakMode::ByTruncatingHead ||
                          mode == NSLineBreakMode::ByTruncatingMiddle;
  const bool clipping = mode == NSLineBreakMode::ByClipping;
  const auto full = [&] {
    return maxLines > 0 && static_cast<qsizetype>(layout.lines.size()) >= maxLines;
  };

  for (qsizetype p = 0; p < paragraphs.size() && !full(); ++p) {
    const QString& paragraph = paragraphs.at(p);
    qsizetype position = 0;
    do {
      const bool lastLine =
          maxLines > 0 && static_cast<qsizetype>(layout.lines.size()) == maxLines - 1;
      if (lastLine && (truncating || (clipping && maxLines == 1))) {
        // The last line takes everything that is left, cut to fit.
        QString rest = paragraph.mid(position);
        for (qsizetype q = p + 1; q < paragraphs.size(); ++q)
          rest += ' ' + paragraphs.at(q);
        const bool more = p + 1 < paragraphs.size();
        if (clipping) {
          layout.clipped = metrics.horizontalAdvance(rest) > width;
          layout.lines.push_back(paragraph.mid(position));
        } else if (!more && metrics.horizontalAdvance(rest) <= width) {
          layout.lines.push_back(rest);
        } else if (mode == NSLineBreakMode::ByTruncatingHead) {
          layout.lines.push_back(truncateHead(rest, metrics, width));
        } else if (mode == NSLineBreakMode::ByTruncatingMiddle) {
          layout.lines.push_back(truncateMiddle(rest, metrics, width));
        } else {
          layout.lines.push_back(
              truncateTail(more ? paragraph.mid(position) + ' ' : rest, metrics, width));
        }
        return layout;
      }
      const QString rest = paragraph.mid(position);
      const qsizetype length =
          lineLength(rest, metrics, width, mode == NSLineBreakMode::ByCharWrapping);
      layout.lines.push_back(trimmedEnd(rest.left(length)));
      position = skipSpaces(paragraph, position + length);
    } while (position < paragraph.size() && !full());
  }
  return layout;
}

}  // namespace vlq::toolkit::qt
