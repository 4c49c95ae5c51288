/* A device library without a single function of the maker's. */
extern const int nothing_in_here;
const int nothing_in_here = 0;
