document.getElementById("sponsored").innerHTML = `
  <div class="sponsored"><small>Sponsored</small>
  Captains hate this trick: buy a yacht for the price of a pizza</div>`;
