const words = document.querySelector("main").textContent.trim().split(/\s+/).length;
document.getElementById("reading-time").textContent = `${Math.ceil(words / 100)} minutes to read`;
