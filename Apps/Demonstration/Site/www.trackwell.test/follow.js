document.getElementById("following").textContent =
    "Trackwell knows you: reader 48213, 14 pages this week, rubber boots, a holiday in June.";
