#include "comparefiles.h"
namespace site {
ComparisonStatus compareFiles(const ComparisonOrder &, std::ostream &, std::ostream &)
{
    return ComparisonStatus::Trouble;
}
} // namespace site
