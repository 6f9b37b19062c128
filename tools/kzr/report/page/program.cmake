# The files of the page's program, in the order in which they stand in the page, one behind the other in one script.
set(program_files text.js data.js figures.js busy_bounds.js path.js colours.js state.js places.js model.js summary.js
    timeline.js timeline_lanes.js timeline_input.js graph.js graph_layout.js graph_input.js tables.js details.js search.js
    page.js)
